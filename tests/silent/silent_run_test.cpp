#include "SilentRun.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <csignal>
#include <sys/stat.h>

namespace {

const QString kDriver = QStringLiteral("/Library/Printers/BrelundQuorlix");

/// An installer that waits, in the middle, for the file "go" below the root.
const QByteArray kWaitingInstaller = "#!/bin/sh\n"
                                     "root=${0%/usr/sbin/installer}\n"
                                     "echo 'installer:PHASE:Writing files'\n"
                                     "echo 'installer:%1.000000'\n"
                                     "touch \"$root/waiting\"\n"
                                     "while [ ! -e \"$root/go\" ]; do sleep 0.02; done\n"
                                     "echo 'installer: The install was successful.'\n";

TEST_F(SilentRun, InstallsThePackageAndEndsWithZero) {
    putInstaller({QStringLiteral("--version"), QStringLiteral("4.5.6")});
    const Outcome outcome = run();
    EXPECT_EQ(outcome.status, 0) << qPrintable(outcome.errors);
    EXPECT_EQ(installedVersion(), QStringLiteral("4.5.6"));
    EXPECT_TRUE(exists(kDriver + QStringLiteral("/Uninstall.sh")));
    EXPECT_EQ(preference(), QStringLiteral("NO"));
}

TEST_F(SilentRun, PrintsRisingPercentagesAndKeys) {
    putInstaller();
    const QStringList lines = run().printed.split(u'\n', Qt::SkipEmptyParts);
    ASSERT_GE(lines.size(), 2);
    EXPECT_EQ(lines.first(), QStringLiteral("5:PHASE_PrepareInstall"));
    const QRegularExpression form(QStringLiteral("^(\\d+):(PHASE_[A-Za-z]+)?$"));
    int last = 0;
    for (const QString &line : lines) {
        const QRegularExpressionMatch match = form.match(line);
        EXPECT_TRUE(match.hasMatch()) << qPrintable(line);
        EXPECT_GE(match.captured(1).toInt(), last);
        last = match.captured(1).toInt();
    }
    EXPECT_LE(last, 88);
}

TEST_F(SilentRun, APrivateComputerKeepsThePrivatePreference) {
    putInstaller();
    EXPECT_EQ(run({QStringLiteral("-s"), QStringLiteral("bob")}).status, 0);
    EXPECT_EQ(preference(), QStringLiteral("YES"));
}

TEST_F(SilentRun, LeavesThePreferencesReadableByEverybodyAndWritableByOne) {
    putInstaller();
    run();
    struct stat status {};
    ASSERT_EQ(
        stat(QFile::encodeName(path(QStringLiteral("/Library/Preferences/BrelundQuorlixAdmin.plist"))).constData(),
             &status),
        0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
}

TEST_F(SilentRun, TellsTheWholeStoryInItsLog) {
    putInstaller();
    run();
    QStringList entries = logEntries();
    const QStringList expected{
        QStringLiteral("################################"),
        QStringLiteral("Current Logged in User: bob"),
        QStringLiteral("Silent Installation!!!"),
        QStringLiteral("Authorization successful"),
        QStringLiteral("Preparing for Installation!!!"),
        QStringLiteral("Installing %1/OSX/Brelund Quorlix Driver.pkg").arg(installerFolder()),
    };
    qsizetype from = 0;
    for (const QString &entry : expected) {
        const qsizetype found = entries.indexOf(entry, from);
        EXPECT_GE(found, 0) << qPrintable(entry) << "\nin\n" << qPrintable(entries.join(u'\n'));
        from = found + 1;
    }
}

TEST_F(SilentRun, CapturesTheSystemInstallersLog) {
    putInstaller(
        {QStringLiteral("--version"), QStringLiteral("1.0"), QStringLiteral("--size"), QStringLiteral("50000000")});
    EXPECT_EQ(run().status, 0);
    EXPECT_TRUE(exists(QStringLiteral("/var/tmp/kyb/kyb_install.log")));
}

TEST_F(SilentRun, AnUpgradeRemovesTheEarlierVersionFirst) {
    putInstaller({QStringLiteral("--version"), QStringLiteral("1.0")});
    ASSERT_EQ(run().status, 0);
    write(kDriver + QStringLiteral("/left by the earlier version"), "x");
    putPackage({QStringLiteral("--version"), QStringLiteral("2.0")});
    ASSERT_EQ(run({QStringLiteral("-s"), QStringLiteral("bob")}).status, 0);
    EXPECT_EQ(installedVersion(), QStringLiteral("2.0"));
    EXPECT_FALSE(exists(kDriver + QStringLiteral("/left by the earlier version")));
    EXPECT_EQ(preference(), QStringLiteral("YES"));
    const QStringList entries = logEntries();
    EXPECT_GE(entries.indexOf(QStringLiteral("Older Brelund Quorlix Driver uninstalled successfully.")), 0);
    EXPECT_EQ(entries.filter(QStringLiteral("Uninstallation completed successfully")).size(), 1);
}

TEST_F(SilentRun, TheSameVersionIsInstalledAgain) {
    putInstaller();
    ASSERT_EQ(run().status, 0);
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(installedVersion(), QStringLiteral("1.0"));
}

TEST_F(SilentRun, ALaterRunReusesTheHelperWithoutRegisteringIt) {
    putInstaller();
    run();
    ASSERT_EQ(run().status, 0);
    EXPECT_EQ(logEntries().count(QStringLiteral("Authorization successful")), 1);
}

TEST_F(SilentRun, NeedsNoDisplayAndLoadsNoToolkit) {
    putInstaller();
    putProgram(QStringLiteral("/usr/sbin/installer"), kWaitingInstaller);
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("there is no such platform"));
    const auto process = start();
    waitUntil([this] { return exists(QStringLiteral("/waiting")); });
    QFile maps(QStringLiteral("/proc/%1/maps").arg(process->processId()));
    ASSERT_TRUE(maps.open(QIODevice::ReadOnly));
    const QByteArray libraries = maps.readAll();
    EXPECT_TRUE(libraries.contains("libQt6Core"));
    EXPECT_FALSE(libraries.contains("libQt6Gui"));
    EXPECT_FALSE(libraries.contains("libQt6Widgets"));
    write(QStringLiteral("/go"), "");
    EXPECT_EQ(finish(*process).status, 0);
}

class QuitSignal : public SilentRun, public ::testing::WithParamInterface<int> {};

TEST_P(QuitSignal, IsIgnoredWhileTheEngineWorksAndTheLogSaysSo) {
    putInstaller();
    putProgram(QStringLiteral("/usr/sbin/installer"), kWaitingInstaller);
    const auto process = start();
    waitUntil([this] { return exists(QStringLiteral("/waiting")); });
    kill(static_cast<pid_t>(process->processId()), GetParam());
    waitUntil([this] {
        return logEntries().contains(QStringLiteral("Ignored a request to quit: the installation is in progress."));
    });
    write(QStringLiteral("/go"), "");
    EXPECT_EQ(finish(*process).status, 0);
}

INSTANTIATE_TEST_SUITE_P(Signals, QuitSignal, ::testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_F(SilentRun, AReaderOfTheProgressLinesMayGoAway) {
    putInstaller();
    putProgram(QStringLiteral("/usr/sbin/installer"), kWaitingInstaller);
    const auto process = start();
    waitUntil([this] { return exists(QStringLiteral("/waiting")); });
    process->closeReadChannel(QProcess::StandardOutput);
    write(QStringLiteral("/go"), "");
    EXPECT_EQ(finish(*process).status, 0);
}

/// The command lines of the processes that have to do with a root folder, but for its helpers.
QStringList processesOf(const QString &root, const QList<int> &helpers) {
    QStringList found;
    for (const QString &process : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        QFile arguments(QStringLiteral("/proc/%1/cmdline").arg(process));
        if (process.toInt() > 0 && !helpers.contains(process.toInt()) && arguments.open(QIODevice::ReadOnly)) {
            const QString line = QString::fromUtf8(arguments.readAll().replace('\0', ' '));
            found += line.contains(root) ? QStringList{line} : QStringList();
        }
    }
    return found;
}

TEST_F(SilentRun, LeavesNoProcessBehindButTheHelper) {
    putInstaller();
    run();
    waitUntil([this] { return processesOf(root(), helpers()).isEmpty(); });
    EXPECT_EQ(helpers().size(), 1);
}

TEST_F(SilentRun, RunsInARowOnALoadedMachineAllEndWell) {
    putInstaller();
    std::vector<std::unique_ptr<QProcess>> load;
    for (int i = 0; i < 6; ++i) {
        load.push_back(std::make_unique<QProcess>());
        load.back()->start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("while :; do :; done")});
    }
    for (int i = 0; i < 12; ++i) {
        const Outcome outcome = run();
        ASSERT_EQ(outcome.status, 0) << "run " << i << qPrintable(outcome.errors);
        if (i % 3 == 2) { // a fresh computer: the helper is registered again, and its probe fails first
            for (const int helper : helpers()) {
                kill(helper, SIGKILL);
            }
            waitUntil([this] { return helpers().isEmpty(); });
            QFile::remove(path(QStringLiteral("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool")));
        }
    }
    for (const auto &process : load) {
        process->kill();
        process->waitForFinished();
    }
}

TEST_F(SilentRun, TwoRunsAtOnceBothEndAndThePackageIsInstalled) {
    putInstaller();
    ASSERT_EQ(run().status, 0);
    const auto first = start();
    const auto second = start();
    const Outcome one = finish(*first);
    const Outcome other = finish(*second);
    EXPECT_TRUE(one.status == 0 || other.status == 0) << qPrintable(one.errors + other.errors);
    EXPECT_EQ(installedVersion(), QStringLiteral("1.0"));
}

} // namespace
