#include "SilentRun.h"

#include <csignal>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::Not;

TEST_F(SilentRun, InstallsThePackageAndEndsWithZero) {
    putInstaller({"--version", "4.5.6"});
    const Ran outcome = run();
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(root.installedVersion(), "4.5.6");
    EXPECT_TRUE(root.exists(kDriver + "/Uninstall.sh"));
    EXPECT_EQ(root.preference(), "NO");
}

TEST_F(SilentRun, PrintsRisingPercentagesAndKeys) {
    putInstaller();
    std::vector<std::string> lines = run().lines;
    std::erase(lines, ""); // a status line without a text is shown with its line end, the installer's own
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines.front(), "5:PHASE_PrepareInstall");
    EXPECT_THAT(lines, Each(testing::MatchesRegex("[0-9]+:(PHASE_[A-Za-z]+)?")));
    int last = 0;
    for (const std::string &line : lines) {
        EXPECT_GE(std::stoi(line), last);
        last = std::stoi(line);
    }
    EXPECT_LE(last, 88);
}

TEST_F(SilentRun, APrivateComputerKeepsThePrivatePreference) {
    putInstaller();
    EXPECT_EQ(run({"-s", "bob"}).status, 0);
    EXPECT_EQ(root.preference(), "YES");
}

TEST_F(SilentRun, LeavesThePreferencesReadableByEverybodyAndWritableByOne) {
    putInstaller();
    run();
    EXPECT_EQ(fs::status(root.at("/Library/Preferences/BrelundQuorlixAdmin.plist")).permissions(), fs::perms(0644));
}

TEST_F(SilentRun, TellsTheWholeStoryInItsLog) {
    putInstaller();
    run();
    const std::vector<std::string> entries = root.logEntries();
    auto from = entries.begin();
    for (const std::string &entry :
         {std::string("################################"), std::string("Current Logged in User: bob"),
          std::string("Silent Installation!!!"), std::string("Authorization successful"),
          std::string("Preparing for Installation!!!"), "Installing " + package()}) {
        from = std::find(from, entries.end(), entry);
        ASSERT_NE(from, entries.end()) << entry << " in " << testing::PrintToString(entries);
    }
}

TEST_F(SilentRun, CapturesWhatTheSystemInstallersLogSaysDuringTheInstallation) {
    putInstaller();
    root.write("/var/log/install.log", "before the installation\n");
    root.write("/var/tmp/kyb/kyb_install.log", "of an earlier run\n");
    root.putProgram("/usr/sbin/installer", std::string(kyb::test::kInstallerThatIsHeard) +
                                               "say 'during the installation'\n"
                                               "mv \"$root/var/log/install.log\" \"$root/var/log/install.log.0\"\n"
                                               "say 'in the next log'\n"
                                               "echo 'installer: The install was successful.'\n");
    EXPECT_EQ(run().status, 0);
    waitUntil([this] { return root.processes().empty(); });
    std::ofstream(root.at("/var/log/install.log"), std::ios::app) << "after the installation\n";
    const std::string captured = root.read("/var/tmp/kyb/kyb_install.log");
    EXPECT_THAT(captured, testing::MatchesRegex("(during the installation\n)+(in the next log\n)+"));
}

TEST_F(SilentRun, AnUpgradeRemovesTheEarlierVersionFirst) {
    putInstaller({"--version", "1.0"});
    ASSERT_EQ(run().status, 0);
    root.write(kDriver + "/left by the earlier version", "x");
    putPackage({"--version", "2.0"});
    ASSERT_EQ(run({"-s", "bob"}).status, 0);
    EXPECT_EQ(root.installedVersion(), "2.0");
    EXPECT_FALSE(root.exists(kDriver + "/left by the earlier version"));
    EXPECT_EQ(root.preference(), "YES");
    EXPECT_TRUE(hasLogged("Older Brelund Quorlix Driver uninstalled successfully."));
    EXPECT_THAT(root.logEntries(), Contains(HasSubstr("Uninstallation completed successfully")).Times(1));
}

TEST_F(SilentRun, TheSameVersionIsInstalledAgain) {
    putInstaller();
    ASSERT_EQ(run().status, 0);
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(root.installedVersion(), "1.0");
}

TEST_F(SilentRun, ALaterRunReusesTheHelperWithoutRegisteringIt) {
    putInstaller();
    run();
    ASSERT_EQ(run().status, 0);
    EXPECT_THAT(root.logEntries(), Contains("Authorization successful").Times(1));
}

TEST_F(SilentRun, NeedsNoDisplayAndLoadsNoToolkit) {
    putInstaller();
    root.putProgram("/usr/sbin/installer", kWaitingInstaller);
    environment["QT_QPA_PLATFORM"] = "there is no such platform";
    const auto process = start();
    waitUntil([this] { return root.exists("/waiting"); });
    const std::string libraries = kyb::test::contentOf("/proc/" + std::to_string(process->id()) + "/maps");
    EXPECT_THAT(libraries, HasSubstr("libQt6Core"));
    EXPECT_THAT(libraries, Not(HasSubstr("libQt6Gui")));
    EXPECT_THAT(libraries, Not(HasSubstr("libQt6Widgets")));
    root.write("/go", "");
    EXPECT_EQ(finish(*process).status, 0);
}

class QuitSignal : public SilentRun, public ::testing::WithParamInterface<int> {};

TEST_P(QuitSignal, IsIgnoredWhileTheEngineWorksAndTheLogSaysSo) {
    putInstaller();
    root.putProgram("/usr/sbin/installer", kWaitingInstaller);
    const auto process = start();
    waitUntil([this] { return root.exists("/waiting"); });
    process->sendSignal(GetParam());
    waitUntil([this] { return hasLogged("Ignored a request to quit: the installation is in progress."); });
    root.write("/go", "");
    EXPECT_EQ(finish(*process).status, 0);
}

INSTANTIATE_TEST_SUITE_P(Signals, QuitSignal, ::testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_F(SilentRun, AReaderOfTheProgressLinesMayGoAway) {
    putInstaller();
    root.putProgram("/usr/sbin/installer", kWaitingInstaller);
    const auto process = start();
    waitUntil([this] { return root.exists("/waiting"); });
    process->closeOutput();
    root.write("/go", "");
    EXPECT_EQ(finish(*process).status, 0);
}

TEST_F(SilentRun, LeavesNoProcessBehindButTheHelper) {
    putInstaller();
    run();
    waitUntil([this] { return root.processes().empty(); });
    EXPECT_EQ(root.helpers().size(), 1U);
}

TEST_F(SilentRun, IsFinishedByTheHelperWhenItIsKilledAndLeavesNoCaptureBehind) {
    putInstaller();
    root.putProgram("/usr/sbin/installer", kWaitingInstaller);
    const auto process = start();
    const std::string capture = "/bin/sh\0-c\0 /usr/bin/tail -n0 -F "s + root.seen("/var/log/install.log");
    waitUntil([&] { return root.exists("/waiting") && root.processes("kill 0\0"s + capture).size() == 1; });
    process->sendSignal(SIGKILL);
    waitUntil([this] { return root.processes(root.seen("/var/log/install.log")).empty(); });
    EXPECT_EQ(process->wait(), -SIGKILL);
    root.write("/go", "");
    waitUntil([this] { return root.exists("/finished"); });
}

TEST_F(SilentRun, RunsInARowOnALoadedMachineAllEndWell) {
    putInstaller();
    std::vector<std::unique_ptr<Program>> load(6);
    for (auto &program : load) {
        program = std::make_unique<Program>(Words{"/bin/sh", "-c", "while :; do :; done"});
    }
    for (int i = 0; i < 12; ++i) {
        const Ran outcome = run();
        ASSERT_EQ(outcome.status, 0) << "run " << i << outcome.errors;
        if (i % 3 == 2) { // a fresh computer: the helper is registered again, and its probe fails first
            root.killHelpers();
            root.remove("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool");
        }
    }
}

TEST_F(SilentRun, TwoRunsAtOnceBothEndAndThePackageIsInstalled) {
    putInstaller();
    root.registerHelper(KYB_BUNDLE "/Contents/Library/LaunchServices/com.kyb.InstallerHelperTool");
    const auto first = start();
    const auto second = start();
    const Ran one = finish(*first);
    const Ran other = finish(*second);
    EXPECT_TRUE(one.status == 0 || other.status == 0) << one.errors + other.errors;
    EXPECT_EQ(root.installedVersion(), "1.0");
}

/// Here both may fail: each removes the earlier version by itself, also while the other's package is being installed.
TEST_F(SilentRun, TwoUpgradesAtOnceBothEndAndTheNextIsWell) {
    putInstaller();
    ASSERT_EQ(run().status, 0);
    const auto first = start();
    const auto second = start();
    EXPECT_THAT(finish(*first).status, testing::AnyOf(0, 1));
    EXPECT_THAT(finish(*second).status, testing::AnyOf(0, 1));
    root.killHelpers(); // which may still hold a failure
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(root.installedVersion(), "1.0");
}

} // namespace
