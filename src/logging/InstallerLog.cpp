#include "controller/KYViewController.h"

#include "base/threads.h"
#include "platform/system_root.h"
#include "posix/file_io.h"
#include "text/utf8.h"

#include <QFile>
#include <QSaveFile>

namespace {

constexpr std::size_t kMaxCaptureBytes = std::size_t{64} << 20; // a longer one is no installation's
constexpr char kCaptureFile[] = "/var/tmp/kyb/kyb_install.log";

QString captureFile() {
    return kyb::systemPath(QString::fromLatin1(kCaptureFile));
}

/// The capture file's text; nothing when it cannot be read, is too long, is not UTF-8, or is no file but what others
/// put there.
std::optional<QString> capturedText() {
    const kyb::UniqueFd file =
        kyb::openRegularFile(QFile::encodeName(captureFile()).toStdString(), O_RDONLY | O_NOFOLLOW);
    const std::optional<std::string> text = kyb::readAll(file.get(), kMaxCaptureBytes);
    return text ? kyb::fromUtf8(QByteArray::fromStdString(*text)) : std::nullopt;
}

} // namespace

void KYViewController::startMonitoringLogFile() {
    // What an earlier run or somebody else has left there may not be ours to truncate.
    QFile::remove(captureFile());
    // NB: the command begins with a blank.
    const QString command = QStringLiteral(" /usr/bin/tail -n0 -F %1 > %2")
                                .arg(kyb::systemPath(QStringLiteral("/var/log/install.log")), captureFile());
    const auto task =
        std::make_shared<kyb::ChildTask>(QStringLiteral("/bin/sh"), QStringList{QStringLiteral("-c"), command});
    {
        const kyb::MutexLock lock(taskMutex_);
        fileMonitoringtask = task;
    }
    task->launch();
}

void KYViewController::stopMonitoringLogFile() {
    const kyb::MutexLock lock(taskMutex_);
    if (fileMonitoringtask) {
        fileMonitoringtask->terminate();
    }
}

void KYViewController::retrieveInstallationLogsToView() {
    kyb::onMainThread([this] { retrieveInstallationLogFromSystemLogs(); });
    kyb::onMainThread([this] { enableShowLogMenuItem(); });
}

void KYViewController::retrieveInstallationLogFromSystemLogs() {
    logFileData = kyb::combinedLogText(internalLog(), capturedText());
    if (logFileData.isNull()) {
        logTextView->setText(
            QStringLiteral("Error: Can not find Installation Log file at /var/tmp/kyb/kyb_install.log!"));
        WriteLog(QStringLiteral("Error: Could not find kyb_install.log"));
        return;
    }
    logTextView->setText(logFileData);
    allLinesOfLogFileData = kyb::LogLines(logFileData);
    logTextView->setFont({QStringLiteral("Arial"), 12.0});
    logToolBar->insertItem(*searchItem, 1);
    logToolBar->insertItem(*saveButtonItem, 2);
}

void KYViewController::enableShowLogMenuItem() {
    showLogMenuItem->setHidden(false);
    showLogMenuItem->setEnabled(true);
}

void KYViewController::showInstallationLog(Sender) {
    if (!logWindow->isVisible()) {
        logWindow->makeKeyAndOrderFront();
    }
}

void KYViewController::filterLog(Sender sender) {
    logTextView->setText(kyb::filterLog(logFileData, allLinesOfLogFileData, sender->text()));
}

void KYViewController::showLogFileSavePanel(Sender) {
    const std::optional<QString> path = logWindow->runSavePanel();
    if (!path) {
        return;
    }
    const QByteArray text = logFileData.toUtf8();
    QSaveFile file(*path);
    // NB: through a buffer, QSaveFile puts half a file in place when the disk is full.
    if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size()) {
        file.commit();
    }
}
