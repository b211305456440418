// A progress file of any bytes, as the program follows it: one look at it whatever it holds, with the commands that
// read it, and then its proper end. The run ends, its percentages rise in their bounds, and it fails as the line says.

#include "FakeMachine.h"
#include "controller/KYViewController.h"
#include "install/phases.h"
#include "last_lines.h"
#include "promise.h"

#include <QCoreApplication>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

const QString kProgress = QStringLiteral("/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log");
constexpr int kMostPasses = 2; // one with the bytes, one with the end

void begin() {
    static int argc = 1;
    static char name[] = "polling_pass_fuzz";
    static char *argv[] = {name, nullptr};
    static const QCoreApplication application(argc, argv);
    FakeMachine::instance().reset();
    isSilentInstall = true;
    std::freopen("/dev/null", "w", stdout); // the progress lines
}

/// Whether the last line but one of \p content, as the program reads it, tells a failure.
bool tellsFailure(const std::string &content) {
    return kyb::readInstallerLine(kyb::lineText(firstOfLastLines(2, content).c_str()), false).marksFailure;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    [[maybe_unused]] static const bool hasBegun = (begin(), true);
    FakeMachine &machine = FakeMachine::instance();
    KYViewController controller;
    controller.selectedApp = std::make_unique<KYRavexApp>();
    const std::string content(reinterpret_cast<const char *>(data), size);
    int passes = 0;
    machine.onSleep = [&](std::chrono::milliseconds duration) {
        if (duration == 50ms) {
            require(++passes <= kMostPasses);
            machine.write(kProgress, passes == 1 ? QByteArray::fromStdString(content)
                                                 : QByteArray("installer:PHASE:\nInstallation_Done\n"));
        }
    };
    const int firstFree = dup(STDIN_FILENO);
    installFailed = false;
    require(controller.installPackage());
    QCoreApplication::processEvents();
    require(installFailed == tellsFailure(content));
    close_range(static_cast<unsigned>(firstFree), ~0U, 0); // of a run one stream stays open, and its command unawaited
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    return 0;
}
