#include "controller/KYViewController.h"

#include "platform/locale_info.h"
#include "platform/system_log.h"
#include "platform/system_root.h"
#include "posix/file_io.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

constexpr char kWorkingFolder[] = "/var/tmp/kyb";
constexpr char kLogFile[] = "/var/tmp/kyb/BrelundQuorlix.log";
constexpr quint64 kSizeLimitBytes = 10'485'760; // 10 MiB
constexpr char16_t kBannerText[] = u"Initiated Brelund Quorlix Driver";

QString now() {
    return kyb::shortDateAndTime(std::chrono::system_clock::now());
}

QString startBanner() {
    return QStringLiteral("\n################################\n"
                          "Initiated Brelund Quorlix Driver at %1"
                          "\n################################")
        .arg(now());
}

/// Opens the folder and everything in it to all users.
void openToEverybody(const QString &folder) {
    std::array<char, 1024> command{};
    std::snprintf(command.data(), command.size(), "chmod -R 777 \"%s\"", qUtf8Printable(folder));
    [[maybe_unused]] const int unread = std::system(command.data());
}

/// The line that stands in the file for \p message, its line feed included.
QByteArray logLine(const QString &message) {
    const bool isBanner = message.contains(QStringView(kBannerText));
    const QString line = isBanner ? message : QStringLiteral("%1 : %2").arg(now(), message);
    return line.toUtf8() + '\n';
}

/// Opens the file for appending; makes it, open to everybody, when there is none. Everybody may write to its folder:
/// what is no regular file, or a link, is left alone.
kyb::UniqueFd openLog(const std::string &path) {
    return kyb::openRegularFile(path, O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW, 0666);
}

/// Appends in one write, so that lines of several threads and processes interleave only whole.
void appendToFile(const QString &path, const QByteArray &line) {
    if (const kyb::UniqueFd file = openLog(QFile::encodeName(path).toStdString())) {
        [[maybe_unused]] const ssize_t written = write(file.get(), line.constData(), static_cast<size_t>(line.size()));
    }
}

} // namespace

void KYViewController::initLogFile() {
    {
        const kyb::MutexLock lock(internalLogMutex_);
        internalLog_ = QString();
    }
    const QString folder = kyb::systemPath(QString::fromLatin1(kWorkingFolder));
    if (!QFileInfo::exists(folder) && !QDir().mkdir(folder)) {
        WriteLog(QStringLiteral("Error: Create folder failed /var/tmp/kyb"));
    }
    openToEverybody(folder);
    const QString logFile = kyb::systemPath(QString::fromLatin1(kLogFile));
    const auto sizeBytes = static_cast<quint64>(QFileInfo(logFile).size());
    kyb::systemLog(QStringLiteral("Existing Log file size: %1").arg(sizeBytes));
    if (sizeBytes > kSizeLimitBytes) {
        QFile::remove(logFile);
        WriteLog(QStringLiteral("Deleted existing log file as it exceeded size limit!"));
    }
    WriteLog(startBanner());
}

void KYViewController::WriteLog(const QString &message) {
    kyb::systemLog(message);
    {
        const kyb::MutexLock lock(internalLogMutex_);
        internalLog_ += message + QLatin1Char('\n');
    }
    appendToFile(kyb::systemPath(QString::fromLatin1(kLogFile)), logLine(message));
}

QString KYViewController::internalLog() const {
    const kyb::MutexLock lock(internalLogMutex_);
    return internalLog_;
}
