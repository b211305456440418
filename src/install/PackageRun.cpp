#include "controller/KYViewController.h"

#include "base/KYGlobalConstants.h"
#include "base/threads.h"
#include "channel/message_keys.h"
#include "install/command_lines.h"
#include "install/phases.h"
#include "platform/clock.h"
#include "platform/system_log.h"
#include "platform/system_root.h"
#include "posix/file_io.h"
#include "text/localized_text.h"
#include "text/resources.h"

#include <QFileInfo>
#include <algorithm>
#include <array>
#include <cstdio>
#include <unistd.h>

using kyb::systemPath;
using namespace std::chrono_literals;

namespace {

constexpr double kFirstPercent = 10.0;
constexpr double kPercentStep = 4.0;
constexpr double kLastPercent = 88.0;

/// How long a look waits for its command, which waits for ever at a FIFO that comes and goes in the file's place.
constexpr std::chrono::milliseconds kLookTimeout = 2s;

/// One line read; kept from read to read of a run, so that a read that yields nothing leaves the line before.
using LineBuffer = std::array<char, 1024>;

/// Whether something lies at \p path that a command which reads it would wait for, or be led elsewhere by.
bool isNoFile(const QString &path) {
    const QFileInfo info(path);
    return info.isSymLink() || (info.exists() && !info.isFile());
}

/// Reads one line of the last \p count lines of \p file into \p line, if there is one. \return the stream, still open;
/// or null.
FILE *readTail(int count, const QString &file, LineBuffer &line) {
    FILE *stream = isNoFile(file) ? nullptr : popen(kyb::tailCommand(count, file).toUtf8().constData(), "r");
    if (stream == nullptr || !kyb::waitForInput(fileno(stream), kLookTimeout)) {
        return nullptr; // NB: still open; who closed it would wait for the command
    }
    [[maybe_unused]] const char *unread = std::fgets(line.data(), static_cast<int>(line.size()), stream);
    return stream;
}

void close(FILE *stream) {
    if (stream != nullptr) {
        pclose(stream);
    }
}

/// The progress lines on standard output. Whoever has stopped reading them does not hold up the installation: he misses
/// lines.
class ProgressLines {
public:
    void print(int percent, const QString &phaseText) {
        isStuck_ = !kyb::waitForRoom(STDOUT_FILENO, isStuck_ ? 0ms : kReaderTimeout);
        if (!isStuck_) {
            std::printf("%d:%s\n", percent, qUtf8Printable(phaseText));
            std::fflush(stdout);
        }
    }

private:
    static constexpr std::chrono::milliseconds kReaderTimeout = 5s;
    bool isStuck_ = false;
};

bool saysInstallationDone(const LineBuffer &line) {
    const std::optional<QString> text = kyb::lineText(line.data());
    return text && text->startsWith(QLatin1String(kyb::kInstallationDone));
}

/// The looks at the progress message file, one after the other, of one run of the package installer.
class PollingLoop {
public:
    using Report = std::function<void(const kyb::ProgressMessage &)>;

    PollingLoop(const QString &progressFile, ProgressLines &lines, Report report)
        : progressFile_(progressFile), lines_(lines), report_(std::move(report)) {}

    void run() {
        while (!pass()) {
        }
    }

private:
    /// \return whether the loop ends.
    bool pass() {
        kyb::sleepFor(50ms);
        FILE *stream = readTail(2, progressFile_, line_);
        const QString phaseText = phaseTextOfLine();
        percent_ = std::min(phaseText.isEmpty() ? percent_ : percent_ + kPercentStep, kLastPercent);
        const int value = static_cast<int>(percent_);
        if (isSilentInstall) {
            lines_.print(value, phaseText);
        }
        close(stream);
        report_({static_cast<double>(value), phaseText});

        stream = readTail(1, progressFile_, line_);
        if (saysInstallationDone(line_) || installFailed) {
            return true; // NB: the last stream stays open
        }
        close(stream);
        return false;
    }

    QString phaseTextOfLine() const {
        const kyb::InstallerLine line = kyb::readInstallerLine(kyb::lineText(line_.data()), installFailed);
        if (line.marksFailure) {
            installFailed = true;
        }
        if (line.phaseText.isEmpty()) {
            return {};
        }
        const QString key = kyb::phaseKey(line.phaseText);
        return isSilentInstall ? key : kyb::localizedText(key);
    }

    const QString progressFile_;
    ProgressLines &lines_;
    const Report report_;
    LineBuffer line_{};
    double percent_ = kFirstPercent;
};

} // namespace

bool KYViewController::installPackage() {
    const QString package = kyb::pathBesideBundle(selectedApp->pkgName());
    WriteLog(QStringLiteral("Installing %1").arg(package));

    ProgressLines lines;
    const QString preparing = QStringLiteral("PHASE_PrepareInstall");
    if (isSilentInstall) {
        lines.print(5, preparing);
    } else {
        kyb::onMainThread([this, text = kyb::localizedText(preparing)] { displayProgressInfo({5, text}); });
    }
    xpcConnection(kyb::installCommand(systemPath(QStringLiteral("/usr/sbin/installer")), package), InstallerLog::Yes);
    const QString progressFile = systemPath(QString::fromLatin1(installProgressLog));
    PollingLoop polling(progressFile, lines, [this](const kyb::ProgressMessage &message) {
        kyb::onMainThread([this, message] { displayProgressInfo(message); });
    });
    kyb::onMainThreadAndWait([this] { updatesTheInstallationProgressbar(); });
    if (!QFileInfo::exists(progressFile)) {
        kyb::sleepFor(2s);
    }
    polling.run();

    kyb::systemLog(QStringLiteral("End of Installation"));
    installationInProgress = false;
    stopMonitoringLogFile();
    return true;
}
