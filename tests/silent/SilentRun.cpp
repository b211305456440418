#include "SilentRun.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QThread>
#include <csignal>
#include <sys/stat.h>

namespace {

constexpr int kPatienceMilliseconds = 120'000;

const QString kApp = QStringLiteral("/Brelund Quorlix Installer.app");
const QString kContents = kApp + QStringLiteral("/Contents");
const QString kHelper = QStringLiteral("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool");
const QString kHelperInBundle = QStringLiteral("/Library/LaunchServices/com.kyb.InstallerHelperTool");
const QString kProgramInBundle = QStringLiteral("/MacOS/BrelundQuorlixInstaller");

void makeExecutable(const QString &path) {
    ASSERT_EQ(chmod(QFile::encodeName(path).constData(), 0755), 0) << qPrintable(path);
}

void copyProgram(const QString &from, const QString &to) {
    QDir().mkpath(QFileInfo(to).path());
    QFile::remove(to);
    ASSERT_TRUE(QFile::copy(from, to)) << qPrintable(from);
    makeExecutable(to);
}

void runTool(const QString &name, const QStringList &arguments) {
    QProcess tool;
    tool.start(QStringLiteral(KYB_TOOLS "/") + name,
               QStringList{QStringLiteral("--programs"), QStringLiteral(KYB_PROGRAMS)} + arguments);
    ASSERT_TRUE(tool.waitForFinished(kPatienceMilliseconds));
    ASSERT_EQ(tool.exitCode(), 0) << tool.readAllStandardError().constData();
}

} // namespace

SilentRun::SilentRun() : environment(QProcessEnvironment::systemEnvironment()) {
    QFile::setPermissions(scratch_.path(), QFile::Permissions(0x7755)); // another user's processes may look inside
    setInstallerFolder(QStringLiteral("Installer"));
    // What the program runs with sudo needs no more rights here, and must never ask for a password.
    environment.insert(QStringLiteral("PATH"),
                       scratch_.path() + QStringLiteral("/bin:") + environment.value(QStringLiteral("PATH")));
    environment.insert(QStringLiteral("KYB_SYSTEM_ROOT"), root());
    environment.insert(QStringLiteral("LANG"), QStringLiteral("C.UTF-8"));
    for (const char *display : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        environment.remove(QString::fromLatin1(display));
    }
}

void SilentRun::SetUp() {
    runTool(QStringLiteral("make-macroot"), {root()});
    const QString sudo = scratch_.path() + QStringLiteral("/bin/sudo");
    QDir().mkpath(QFileInfo(sudo).path());
    QFile file(sudo);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("#!/bin/sh\nexec \"$@\"\n");
    file.close();
    makeExecutable(sudo);
}

SilentRun::~SilentRun() {
    for (const int helper : helpers()) {
        kill(helper, SIGKILL);
    }
}

QString SilentRun::program() const {
    return installerFolder_ + kContents + kProgramInBundle;
}

void SilentRun::putInstaller(const QStringList &options) {
    const QString bundle = QStringLiteral(KYB_BUNDLE "/Contents");
    copyProgram(bundle + kProgramInBundle, program());
    copyProgram(bundle + kHelperInBundle, installerFolder_ + kContents + kHelperInBundle);
    QFile::link(bundle + QStringLiteral("/Resources"), installerFolder_ + kContents + QStringLiteral("/Resources"));
    putPackage(options);
}

void SilentRun::putPackage(const QStringList &options) {
    QDir().mkpath(installerFolder_ + QStringLiteral("/OSX"));
    const QString package = installerFolder_ + QStringLiteral("/OSX/Brelund Quorlix Driver.pkg");
    QFile::remove(package);
    runTool(QStringLiteral("make-package"), QStringList{package} + options);
}

void SilentRun::putProgram(const QString &fixedPath, const QByteArray &script) const {
    QFile::remove(path(fixedPath));
    write(fixedPath, script);
    makeExecutable(path(fixedPath));
}

void SilentRun::putHelper(const QString &helperProgram) const {
    copyProgram(helperProgram, path(kHelper));
}

std::unique_ptr<QProcess> SilentRun::start(const QStringList &arguments) {
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(environment);
    if (inChild) {
        process->setChildProcessModifier(inChild);
    }
    process->start(program(), arguments);
    return process;
}

SilentRun::Outcome SilentRun::finish(QProcess &process) const {
    if (!process.waitForFinished(kPatienceMilliseconds)) {
        ADD_FAILURE() << "the program does not end; its log:\n"
                      << read(QStringLiteral("/var/tmp/kyb/BrelundQuorlix.log")).constData();
        process.kill();
        process.waitForFinished();
    }
    const int status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -process.exitCode();
    return {status, QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

SilentRun::Outcome SilentRun::run(const QStringList &arguments) {
    return finish(*start(arguments));
}

void SilentRun::waitUntil(const std::function<bool()> &condition) const {
    QElapsedTimer patience;
    patience.start();
    while (!condition()) {
        ASSERT_LT(patience.elapsed(), kPatienceMilliseconds) << "waited in vain";
        QThread::msleep(5);
    }
}

QByteArray SilentRun::read(const QString &fixedPath) const {
    QFile file(path(fixedPath));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool SilentRun::exists(const QString &fixedPath) const {
    return QFileInfo::exists(path(fixedPath));
}

void SilentRun::write(const QString &fixedPath, const QByteArray &content) const {
    QDir().mkpath(QFileInfo(path(fixedPath)).path());
    QFile file(path(fixedPath));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(fixedPath);
    file.write(content);
}

QStringList SilentRun::logEntries() const {
    const QString log = QString::fromUtf8(read(QStringLiteral("/var/tmp/kyb/BrelundQuorlix.log")));
    QStringList entries = log.split(u'\n', Qt::SkipEmptyParts);
    for (QString &entry : entries) {
        entry.remove(QRegularExpression(QStringLiteral("^.{6,40}? : ")));
    }
    return entries;
}

QString SilentRun::installedVersion() const {
    const QString receipt =
        QString::fromUtf8(read(QStringLiteral("/var/db/receipts/com.Brelund.QuorlixInstaller.plist")));
    const QRegularExpression version(QStringLiteral("<key>PackageVersion</key>\\s*<string>([^<]*)</string>"));
    return version.match(receipt).captured(1);
}

QString SilentRun::preference() const {
    const QString file = QString::fromUtf8(read(QStringLiteral("/Library/Preferences/BrelundQuorlixAdmin.plist")));
    const QRegularExpression value(QStringLiteral("<key>IsPrivateInstall</key>\\s*<string>([^<]*)</string>"));
    return value.match(file).captured(1);
}

QList<int> SilentRun::helpers() const {
    QList<int> found;
    for (const QString &process : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        bool isNumber = false;
        const int number = process.toInt(&isNumber);
        const QString executable = QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(process));
        if (isNumber && executable.startsWith(path(kHelper))) {
            found << number;
        }
    }
    return found;
}
