#include "ControllerTest.h"

#include <QFile>
#include <QFileInfo>
#include <csignal>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

/// As long as it lives no file of this process grows beyond a size, as on a disk that is full.
class NoLongFiles {
public:
    explicit NoLongFiles(rlim_t maxBytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{maxBytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~NoLongFiles() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    NoLongFiles(const NoLongFiles &) = delete;
    NoLongFiles &operator=(const NoLongFiles &) = delete;

private:
    void (*handler_)(int);
    rlimit before_{};
};

class InstallerLog : public ControllerTest {
protected:
    void capture(const QByteArray &text) const { machine.write(QStringLiteral("/var/tmp/kyb/kyb_install.log"), text); }

    void filterFor(const QString &text) {
        screen("searchItem").currentText = text;
        screen("searchItem").press();
    }

    /// Without the mutex that guards it: nothing runs beside the test.
    std::shared_ptr<kyb::ChildTask> latestCapture() const KYB_THREAD_ANNOTATION(no_thread_safety_analysis) {
        return controller->fileMonitoringtask;
    }
};

TEST_F(InstallerLog, CaptureFollowsTheSystemsLogByNameIntoAFreshFile) {
    controller->startMonitoringLogFile();
    EXPECT_EQ(machine.journal().last(),
              QStringLiteral("launch /bin/sh [-c] [ /usr/bin/tail -n0 -F %1/var/log/install.log > "
                             "%1/var/tmp/kyb/kyb_install.log]")
                  .arg(machine.root()));
}

TEST_F(InstallerLog, WhatLiesInTheCapturesPlaceIsTakenAwayFirst) {
    capture("of an earlier run");
    controller->startMonitoringLogFile();
    EXPECT_FALSE(QFileInfo::exists(machine.path(QStringLiteral("/var/tmp/kyb/kyb_install.log"))));
}

TEST_F(InstallerLog, ACaptureThatIsNoFileReadsAsNull) {
    const QString place = machine.path(QStringLiteral("/var/tmp/kyb/kyb_install.log"));
    capture("");
    QFile::remove(place);
    machine.write(QStringLiteral("/secret"), "secret");
    ASSERT_TRUE(QFile::link(machine.path(QStringLiteral("/secret")), place));
    controller->retrieveInstallationLogFromSystemLogs();
    EXPECT_TRUE(controller->logFileData.endsWith(QStringLiteral("Installer Logs:\n(null)")));
    QFile::remove(place);
    ASSERT_EQ(mkfifo(QFile::encodeName(place).constData(), 0600), 0);
    controller->retrieveInstallationLogFromSystemLogs();
    EXPECT_TRUE(controller->logFileData.endsWith(QStringLiteral("Installer Logs:\n(null)")));
}

TEST_F(InstallerLog, ANewCaptureLeavesTheEarlierOneRunning) {
    controller->startMonitoringLogFile();
    const auto earlier = latestCapture();
    controller->startMonitoringLogFile();
    EXPECT_NE(latestCapture(), earlier);
    EXPECT_FALSE(machine.journal().contains(QStringLiteral("terminate")));
}

TEST_F(InstallerLog, StoppingTerminatesTheCapture) {
    controller->startMonitoringLogFile();
    controller->stopMonitoringLogFile();
    EXPECT_EQ(machine.journal().last(), QStringLiteral("terminate"));
}

TEST_F(InstallerLog, StoppingBeforeAnyCaptureDoesNothing) {
    controller->stopMonitoringLogFile();
    EXPECT_TRUE(machine.journal().isEmpty());
}

TEST_F(InstallerLog, ShowsBothLogsThenPreparesFontAndToolbarThenTheMenuEntry) {
    connectScreens();
    controller->initLogFile();
    controller->WriteLog(QStringLiteral("ours"));
    capture("theirs\n");
    kyb::inBackground([this] { controller->retrieveInstallationLogsToView(); });
    settle();
    const QString text =
        QStringLiteral("Wrapper Application Logs:\n%1\n\n\nInstaller Logs:\ntheirs\n").arg(controller->internalLog());
    EXPECT_EQ(screens.journal, (QStringList{
                                   QStringLiteral("logTextView text \"%1\"").arg(text),
                                   QStringLiteral("logTextView font Arial 12"),
                                   QStringLiteral("logToolBar insert searchItem at 1"),
                                   QStringLiteral("logToolBar insert saveButtonItem at 2"),
                                   QStringLiteral("showLogMenuItem hidden no"),
                                   QStringLiteral("showLogMenuItem enabled yes"),
                               }));
}

TEST_F(InstallerLog, AMissingCaptureReadsAsNull) {
    connectScreens();
    controller->retrieveInstallationLogFromSystemLogs();
    EXPECT_EQ(controller->logFileData, QStringLiteral("Wrapper Application Logs:\n\n\n\nInstaller Logs:\n(null)"));
    EXPECT_FALSE(controller->internalLog().contains(QStringLiteral("Could not find kyb_install.log")));
}

TEST_F(InstallerLog, ACaptureThatIsNotUtf8ReadsAsNull) {
    capture("\xff\xfe");
    controller->retrieveInstallationLogFromSystemLogs();
    EXPECT_TRUE(controller->logFileData.endsWith(QStringLiteral("Installer Logs:\n(null)")));
}

TEST_F(InstallerLog, ACaptureThatIsLongerThanAnyInstallationsReadsAsNull) {
    capture("a line\n");
    const QString path = machine.path(QStringLiteral("/var/tmp/kyb/kyb_install.log"));
    constexpr std::uintmax_t kLongest = 64 << 20;
    for (const std::uintmax_t bytes : {kLongest + 1, std::uintmax_t{1} << 40}) { // the last is beyond any memory
        std::filesystem::resize_file(path.toStdString(), bytes);
        controller->retrieveInstallationLogFromSystemLogs();
        EXPECT_TRUE(controller->logFileData.endsWith(QStringLiteral("Installer Logs:\n(null)")));
    }
    std::filesystem::resize_file(path.toStdString(), kLongest);
    controller->retrieveInstallationLogFromSystemLogs();
    EXPECT_FALSE(controller->logFileData.endsWith(QStringLiteral("(null)")));
}

TEST_F(InstallerLog, NothingAppendedLeavesTheInstallersSectionEmpty) {
    capture("");
    controller->retrieveInstallationLogFromSystemLogs();
    EXPECT_TRUE(controller->logFileData.endsWith(QStringLiteral("Installer Logs:\n")));
}

TEST_F(InstallerLog, FilterShowsTheMatchingLinesAfterANewlineEach) {
    connectScreens();
    capture("a longpkgword\nPKG\npkg\n");
    controller->retrieveInstallationLogFromSystemLogs();
    filterFor(QStringLiteral("pkg"));
    EXPECT_EQ(screen("logTextView").currentText, QStringLiteral("\na longpkgword\npkg"));
}

TEST_F(InstallerLog, AFilterOfOneCharacterShowsEverything) {
    connectScreens();
    capture("pkg\n");
    controller->retrieveInstallationLogFromSystemLogs();
    filterFor(QStringLiteral("pkg"));
    filterFor(QStringLiteral("p"));
    EXPECT_EQ(screen("logTextView").currentText, controller->logFileData);
}

TEST_F(InstallerLog, AFilterThatMatchesNothingShowsNothing) {
    connectScreens();
    capture("pkg\n");
    controller->retrieveInstallationLogFromSystemLogs();
    filterFor(QStringLiteral("nowhere"));
    EXPECT_EQ(screen("logTextView").currentText, QString());
}

TEST_F(InstallerLog, SavingAfterFilteringWritesTheWholeText) {
    connectScreens();
    capture("pkg Größe\nother\n");
    controller->retrieveInstallationLogFromSystemLogs();
    filterFor(QStringLiteral("pkg"));
    screen("logWindow").savePanelAnswer = machine.path(QStringLiteral("/saved.txt"));
    screen("saveButtonItem").press();
    EXPECT_EQ(machine.read(QStringLiteral("/saved.txt")), controller->logFileData.toUtf8());
}

TEST_F(InstallerLog, ACancelledPanelWritesNothing) {
    connectScreens();
    screen("saveButtonItem").press();
    EXPECT_EQ(screens.journal.last(), QStringLiteral("logWindow save panel"));
    EXPECT_FALSE(QFileInfo::exists(machine.path(QStringLiteral("/saved.txt"))));
}

TEST_F(InstallerLog, SavingPutsANewFileInPlaceOfTheOldInOneStep) {
    connectScreens();
    controller->retrieveInstallationLogFromSystemLogs();
    machine.write(QStringLiteral("/saved.txt"), "old");
    const QString saved = machine.path(QStringLiteral("/saved.txt"));
    QFile reader(saved); // who has the old file open goes on reading it
    ASSERT_TRUE(reader.open(QIODevice::ReadOnly));
    screen("logWindow").savePanelAnswer = saved;
    screen("saveButtonItem").press();
    EXPECT_EQ(reader.readAll(), "old");
    EXPECT_EQ(machine.read(QStringLiteral("/saved.txt")), controller->logFileData.toUtf8());
}

TEST_F(InstallerLog, ASaveThatFailsIsSilentAndKeepsWhatWasThere) {
    connectScreens();
    capture(QByteArray(5000, 'x'));
    controller->retrieveInstallationLogFromSystemLogs();
    machine.write(QStringLiteral("/saved.txt"), "old");
    screen("logWindow").savePanelAnswer = machine.path(QStringLiteral("/saved.txt"));
    {
        const NoLongFiles full(1000);
        screen("saveButtonItem").press();
    }
    EXPECT_EQ(machine.read(QStringLiteral("/saved.txt")), "old");
    EXPECT_EQ(machine.systemLog(), QStringList());
    screen("logWindow").savePanelAnswer = machine.path(QStringLiteral("/no such folder/saved.txt"));
    screen("saveButtonItem").press();
    EXPECT_EQ(machine.systemLog(), QStringList());
}

TEST_F(InstallerLog, TheLogWindowComesForwardWhenItIsNotVisible) {
    connectScreens();
    screen("logWindow").hidden = true;
    screen("showLogMenuItem").press();
    EXPECT_EQ(screens.journal.last(), QStringLiteral("logWindow front"));
}

TEST_F(InstallerLog, AVisibleLogWindowIsLeftWhereItIs) {
    connectScreens();
    screen("logWindow").hidden = false;
    screen("showLogMenuItem").press();
    EXPECT_TRUE(screens.journal.isEmpty());
}

} // namespace
