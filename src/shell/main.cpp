#include "base/KYGlobalConstants.h"
#include "base/threads.h"
#include "platform/system_root.h"
#include "posix/file_io.h"
#include "shell/command_line.h"
#include "shell/quit_signals.h"
#include "shell/start_wizard.h"

#include <QCoreApplication>
#include <csignal>
#include <cstdio>

namespace {

constexpr int kStatusBadRoot = 2;

/// \return whether a request to end the process from outside may take its effect now.
bool mayEnd(const KYAppDelegate &delegate, KYViewController &controller) {
    if (delegate.isSafeToCloseWindow()) {
        return true;
    }
    controller.WriteLog(QStringLiteral("Ignored a request to quit: the installation is in progress."));
    return false;
}

[[noreturn]] void end(KYViewController &controller, int status) {
    controller.stopMonitoringLogFile();
    kyb::endProcess(status);
}

[[noreturn]] void runSilently(int &argc, char **argv) {
    const QCoreApplication application(argc, argv);
    KYViewController controller;
    const KYAppDelegate delegate(controller);
    kyb::askBeforeQuitSignals([&] { return mayEnd(delegate, controller); });
    controller.awakeFromNib();
    end(controller, QCoreApplication::exec());
}

[[noreturn]] void fail(const QString &problem, int status) {
    std::fprintf(stderr, "%s\n", qUtf8Printable(problem));
    kyb::endProcess(status);
}

[[noreturn]] void failWithoutScreens(const QString &problem) {
    fail(problem + u'\n' + QLatin1String(kyb::kNoScreens), kyb::kStatusNoScreens);
}

[[noreturn]] void runWizard(int &argc, char **argv) {
    QString problem;
    const kyb::MakeUserInterface makeInterface = kyb::loadWizardModule(&problem);
    if (makeInterface == nullptr) {
        failWithoutScreens(problem);
    }
    kyb::UserInterface &interface = *makeInterface(argc, argv);
    const std::optional<kyb::WizardProgram> program = kyb::startWizard(interface, &problem);
    if (!program) {
        failWithoutScreens(problem);
    }
    kyb::askBeforeQuitSignals([&program] { return mayEnd(program->delegate, program->controller); });
    program->controller.awakeFromNib();
    end(program->controller, interface.run());
}

} // namespace

int main(int argc, char **argv) {
    kyb::fillStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN); // a reader of the progress lines may go away; the installation goes on
    std::signal(SIGXFSZ, SIG_IGN); // so may the room for a log
    if (const std::optional<QString> problem = kyb::systemRootProblem()) {
        fail(*problem, kStatusBadRoot);
    }
    kyb::readCommandLine(argc, argv);
    if (isSilentInstall) {
        runSilently(argc, argv);
    } else {
        runWizard(argc, argv);
    }
}
