// Whole runs on a Mac that is played: what the program, the helper and the system say to each other, and each of the
// turns that the system's documentation leaves open.

#include "FleetRun.h"

#include "box.h"
#include "signature.h"
#include "wire.h"

#include <random>
#include <sstream>
#include <thread>

namespace {

using namespace std::string_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char kProgram[] = "BrelundQuorlixInstaller";
constexpr char kHelper[] = "com.kyb.InstallerHelperTool";

constexpr char kFailingInstaller[] = "#!/bin/sh\necho 'installer: The install failed. (x)'\nexit 1\n";

constexpr char kSlowInstaller[] = "#!/bin/sh\nfor i in 1 2 3 4 5 6 7 8; do echo installer:%$i; sleep 0.4; done\n"
                                  "echo 'installer: The install was successful.'\n";
std::string installerThatTakes(int milliseconds) {
    return "#!/bin/sh\nsleep " + std::to_string(milliseconds / 1000.0) +
           "\necho 'installer: The install was successful.'\n";
}
constexpr char kFastInstaller[] = "#!/bin/sh\necho 'installer: The install was successful.'\n";
constexpr char kSlowFailingInstaller[] = "#!/bin/sh\nsleep 3\necho 'installer: The install failed. (x)'\nexit 1\n";

/// What \p program asked the system for, in order.
std::vector<std::string> callsOf(const std::string &program, const std::string &prefix = {}) {
    const std::string speaker = program + ": ";
    std::vector<std::string> found;
    std::istringstream journal(kyb::test::contentOf(macbox::ownFile("journal")));
    for (std::string line; std::getline(journal, line);) {
        if (line.starts_with(speaker + prefix) && line.find(": NSLog ") == std::string::npos) {
            found.push_back(line.substr(speaker.size()));
        }
    }
    return found;
}

class MacRun : public SilentRun {
protected:
    MacRun() { setenv("KYB_MACBOX", root.path().c_str(), 1); }

    void putSystemInstaller(const std::string &script) const { root.putProgram("/usr/sbin/installer", script); }

    std::string helperInBundle() const {
        return installerFolder() + "/Brelund Quorlix Installer.app/Contents/Library/LaunchServices/" + kHelper;
    }

    /// Signs the program at \p path again, with one fact of its signature changed.
    static void signWith(const std::string &path, const std::string &fact, const std::string &value) {
        macbox::Signature signature = macbox::signatureOf(path).value();
        signature.facts[fact] = value;
        ASSERT_TRUE(macbox::sign(path, signature));
    }

    /// The same, with another version of the helper.
    static void signWithVersion(const std::string &path, const std::string &version) {
        macbox::Signature signature = macbox::signatureOf(path).value();
        std::string &info = signature.sections["__info_plist"];
        const std::string before = "<string>" + macbox::textIn(info, "CFBundleVersion").value() + "</string>";
        const std::size_t at = info.find(before, info.find("CFBundleVersion"));
        info.replace(at, before.size(), "<string>" + version + "</string>");
        ASSERT_TRUE(macbox::sign(path, signature));
    }

    void removeHelper() const { root.remove("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool"); }

    std::string installedHelpersVersion() const {
        const auto signature = macbox::signatureOf(root.helperFile());
        return signature ? macbox::textIn(signature->sections.at("__info_plist"), "CFBundleVersion").value_or("") : "";
    }
};

TEST_F(MacRun, TheProgramAsksAFreshMacInThisOrder) {
    putInstaller();
    ASSERT_EQ(run().status, 0);
    const std::vector<std::string> create{
        "xpc_connection_create_mach_service name=com.kyb.HelperTool.xpc queue=null flags=2",
        "xpc_connection_set_event_handler connection", "xpc_connection_resume connection"};
    const std::string send = "xpc_connection_send_message_with_reply connection message={command_to_be_execute=";
    EXPECT_THAT(
        callsOf(kProgram),
        ElementsAre(
            "CFLocaleCopyCurrent", "TransformProcessType process=0:2 state=4", //
            create[0], create[1], create[2], send + "ls /Applications/} queue=main",
            "AuthorizationCreate rights=[{name=com.apple.ServiceManagement.blesshelper valueLength=0 value=null "
            "flags=0}] environment=null flags=19 slot=null",
            "SMJobBless domain=kSMDomainSystemLaunchd label=com.kyb.InstallerHelperTool authorization=set "
            "error=set",
            "IOPMAssertionCreateWithName type=PreventUserIdleSystemSleep level=255 name=Installing the Brelund "
            "Quorlix Driver",
            create[0], create[1], create[2],
            send + "/usr/sbin/installer -pkg \"" + package() + "\" -target / -verboseR, " +
                "installerlog_file_path=/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log} queue=main",
            "IOPMAssertionRelease number=0"));
}

TEST_F(MacRun, TheHelperAsksForItsServiceAndAnswersItsClientInThisOrder) {
    putInstaller();
    putSystemInstaller(kSlowInstaller);
    ASSERT_EQ(run().status, 0);
    ASSERT_EQ(run().status, 0); // with a probe that is answered
    const std::vector<std::string> all = callsOf(kHelper);
    ASSERT_GE(all.size(), 10U);
    const std::vector<std::string> listens(all.begin(), all.begin() + 4);
    EXPECT_THAT(listens, ElementsAre("dispatch_queue_create label=com.kyb.HelperTool.xpc attributes=null",
                                     "xpc_connection_create_mach_service name=com.kyb.HelperTool.xpc queue=own flags=1",
                                     "xpc_connection_set_event_handler listener", "xpc_connection_resume listener"));
    const std::vector<std::string> admits(all.begin() + 4, all.begin() + 10);
    EXPECT_THAT(admits,
                ElementsAre("xpc_connection_set_target_queue peer queue=own", "xpc_connection_set_event_handler peer",
                            "xpc_connection_resume peer", "SecCodeCreateWithXPCMessage message=dictionary flags=0",
                            StartsWith("SecRequirementCreateWithString text=anchor apple generic and identifier "),
                            "SecCodeCheckValidity code=set flags=0 requirement=set"));
    EXPECT_THAT(all, Contains("xpc_connection_send_message peer message={reply=Command finished with status 0}"));
}

TEST_F(MacRun, ASecondRunAsksNobody) {
    putInstaller();
    ASSERT_EQ(run().status, 0);
    ASSERT_EQ(run().status, 0);
    EXPECT_EQ(callsOf(kProgram, "AuthorizationCreate").size(), 1U);
    EXPECT_EQ(callsOf(kProgram, "SMJobBless").size(), 1U);
    EXPECT_TRUE(hasLogged("Received response: Command finished with status 0."));
}

TEST_F(MacRun, TheHelpersLogLiesWhereItsJobSays) {
    putInstaller();
    putSystemInstaller(kFastInstaller);
    ASSERT_EQ(run().status, 0);
    EXPECT_THAT(helperLog(), HasSubstr("Command finished with status 0"));
    EXPECT_EQ(root.read("/Library/LaunchDaemons/com.kyb.InstallerHelperTool.plist").find("KYB"), std::string::npos);
}

TEST_F(MacRun, AHelperThatWasKilledIsStartedAgainWhenItIsAskedFor) {
    putInstaller();
    putSystemInstaller(kFastInstaller);
    ASSERT_EQ(run().status, 0);
    root.killHelpers();
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(callsOf("macbox_launchd", "start ").size(), 2U);
    EXPECT_EQ(callsOf(kProgram, "SMJobBless").size(), 1U);
}

/// The system starts a job no more often than every ten seconds.
TEST_F(MacRun, AHelperThatMayNotStartYetIsWaitedFor) {
    putInstaller();
    putSystemInstaller(kFailingInstaller);
    macbox::set("respawn", "10000");
    ASSERT_EQ(run().status, 1);
    root.killHelpers();
    putSystemInstaller(kFastInstaller);
    EXPECT_EQ(run().status, 0);
    putSystemInstaller(kFailingInstaller);
    root.killHelpers();
    EXPECT_EQ(run().status, 1);
}

/// The helper's file was removed while it runs, and does not answer: another one is put there once it has ended.
TEST_F(MacRun, AHelperThatDoesNotEndIsKilledBeforeAnotherOneTakesItsPlace) {
    putInstaller();
    putSystemInstaller(kFastInstaller);
    ASSERT_EQ(run().status, 0);
    const pid_t stopped = root.helpers().at(0);
    kill(stopped, SIGSTOP);
    removeHelper();
    macbox::set("exit timeout", "500");
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(kill(stopped, 0), -1);
    EXPECT_EQ(callsOf(kProgram, "SMJobBless").size(), 2U);
}

/// What becomes of the one that is replaced is heard when the new one works already.
TEST_F(MacRun, TheEndOfTheHelperThatIsReplacedIsNoFailureHoweverLateItIsHeard) {
    putInstaller();
    putSystemInstaller(kFastInstaller);
    ASSERT_EQ(run().status, 0);
    kill(root.helpers().at(0), SIGSTOP);
    removeHelper();
    macbox::set("exit timeout", "500");
    macbox::set("delay.event", "1500");
    putSystemInstaller(kWaitingInstaller);
    const auto process = start();
    waitUntil([] { return !callsOf(kProgram, "delayed event").empty(); });
    root.write("/go", "");
    EXPECT_EQ(process->wait(), 0);
}

/// As a registration that fails replaces nothing.
TEST_F(MacRun, LateNewsAreToldWhenTheHelperCouldNotBeReplaced) {
    putInstaller();
    macbox::set("bless", "fails");
    macbox::set("delay.event", "10000"); // longer than a registration waits for it
    const auto process = start();
    waitUntil([this] { return hasLogged("Failed to install the Helper Tool. Error: (null)"); });
    EXPECT_FALSE(hasLogged("XPC connection invalid, releasing."));
    waitUntil([this] { return hasLogged("XPC connection invalid, releasing."); });
    expectToGoOn(*process);
}

TEST_F(MacRun, AMacThatCannotPutTheHelperInItsPlaceIsTold) {
    putInstaller();
    macbox::set("bless", "fails");
    const auto process = start();
    waitUntil([this] { return hasLogged("Failed to install the Helper Tool. Error: (null)"); });
    expectToGoOn(*process);
    EXPECT_EQ(callsOf(kProgram, "SMJobBless").size(), 1U);
    EXPECT_EQ(root.installedVersion(), "");
}

/// Whether a job that is loaded is enough is not said; then nobody brings the helper back whose file was removed.
TEST_F(MacRun, AMacThatTakesALoadedJobForEnoughInstallsNothingAndSaysSo) {
    putInstaller();
    putSystemInstaller(kFastInstaller);
    ASSERT_EQ(run().status, 0);
    root.killHelpers();
    removeHelper();
    macbox::set("bless", "loaded");
    EXPECT_EQ(run().status, 1);
    EXPECT_TRUE(hasLogged("XPC connection invalid, releasing."));
}

// ---- Who sits there

struct UserRow {
    const char *user;
    const char *logged;
};
class MacUser : public MacRun, public testing::WithParamInterface<UserRow> {};

TEST_P(MacUser, WhoDoesNotGrantItIsToldAndNothingIsInstalled) {
    putInstaller();
    macbox::set("user", GetParam().user);
    const auto process = start();
    waitUntil([this] { return hasLogged("Failed to install the Helper Tool. Error: (null)"); });
    EXPECT_TRUE(hasLogged(GetParam().logged));
    expectToGoOn(*process);
    EXPECT_FALSE(root.exists("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool"));
    EXPECT_THAT(callsOf(kProgram, "SMJobBless"), IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(Users, MacUser,
                         testing::Values(UserRow{"cancels", "Failed to create AuthorizationRef. Error code: -60006"},
                                         UserRow{"denies", "Failed to create AuthorizationRef. Error code: -60005"},
                                         UserRow{"absent", "Failed to create AuthorizationRef. Error code: -60007"}),
                         [](const auto &row) { return row.param.user; });

TEST_F(MacRun, AUserWhoTakesHisTimeIsWaitedFor) {
    putInstaller();
    putSystemInstaller(kFastInstaller);
    macbox::set("delay.user", "5000");
    EXPECT_EQ(run().status, 0);
}

/// A Mac that nobody sits at.
class MacFleet : public FleetRun {};

TEST_F(MacFleet, AsksNobodyOnAFreshMac) {
    setenv("KYB_MACBOX", root.path().c_str(), 1);
    macbox::set("user", "absent");
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(root.installedVersion(), "7.0");
    EXPECT_THAT(callsOf(kProgram, "AuthorizationCreate"), IsEmpty());
    EXPECT_THAT(callsOf(kProgram, "SMJobBless"), IsEmpty());
    EXPECT_THAT(callsOf("macbox_launchd", "start "), ElementsAre("start com.kyb.InstallerHelperTool"));
}

// ---- Who trusts whom

struct SignatureRow {
    const char *shows;
    bool isHelpers;
    const char *fact;
    const char *value;
};
class MacSignature : public MacRun, public testing::WithParamInterface<SignatureRow> {};

/// The helper and the program that do not trust each other: the system registers no helper.
TEST_P(MacSignature, OfAnotherMakerIsNotTrusted) {
    putInstaller();
    signWith(GetParam().isHelpers ? helperInBundle() : program(), GetParam().fact, GetParam().value);
    const auto process = start();
    waitUntil([this] { return hasLogged("Failed to install the Helper Tool. Error: (null)"); });
    expectToGoOn(*process);
    EXPECT_FALSE(root.exists("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool"));
}
INSTANTIATE_TEST_SUITE_P(
    Facts, MacSignature,
    testing::Values(SignatureRow{"HelpersTeam", true, "certificate leaf[subject.OU]", "XY98ZW76VU"},
                    SignatureRow{"HelpersName", true, "identifier", "com.example.helper"},
                    SignatureRow{"HelpersAnchor", true, "anchor", "another"},
                    SignatureRow{"ProgramsTeam", false, "certificate leaf[subject.OU]", "XY98ZW76VU"},
                    SignatureRow{"ProgramsName", false, "identifier", "com.example.program"},
                    SignatureRow{"ProgramsAnchor", false, "anchor", "another"},
                    SignatureRow{"ProgramsVersion", false, "info[CFBundleVersion]", "0.9.12"}),
    [](const auto &row) { return row.param.shows; });

class MacStranger : public MacRun, public testing::WithParamInterface<const char *> {};

/// A helper that is there serves no program but its own, and tells any other so.
TEST_P(MacStranger, IsServedByNoHelperAndSaysThatItFailed) {
    putInstaller();
    putSystemInstaller("#!/bin/sh\ntouch \"${0%/usr/sbin/installer}/ran\"\n");
    root.registerHelper(helperInBundle());
    macbox::set("code", GetParam());
    EXPECT_EQ(run().status, 1);
    EXPECT_TRUE(hasLogged("XPC connection interupted."));
    EXPECT_FALSE(root.exists("/ran"));
}

/// Whether who is cut off hears that the helper went, or that there is none.
TEST_F(MacRun, AProgramThatIsCutOffSaysThatItFailedWhateverItHears) {
    putInstaller();
    putSystemInstaller("#!/bin/sh\ntouch \"${0%/usr/sbin/installer}/ran\"\n");
    root.registerHelper(helperInBundle());
    macbox::set("code", "stranger");
    macbox::set("cut off", "invalid");
    EXPECT_EQ(run().status, 1);
    EXPECT_TRUE(hasLogged("XPC connection invalid, releasing."));
    EXPECT_FALSE(root.exists("/ran"));
}
INSTANTIATE_TEST_SUITE_P(Kinds, MacStranger, testing::Values("stranger", "unsigned", "old"),
                         [](const auto &row) { return std::string(row.param); });

struct VersionRow {
    const char *shows;
    const char *installed;
    const char *shipped;
    const char *left;
};
class MacVersion : public MacRun, public testing::WithParamInterface<std::tuple<VersionRow, const char *>> {};

/// A helper that does not answer the probe is registered again, and replaced when the one in the bundle is newer; or
/// by whichever is there, which the documentation does not exclude.
TEST_P(MacVersion, OfTheHelperDecidesWhetherItIsReplaced) {
    const auto [row, bless] = GetParam();
    putInstaller();
    putSystemInstaller(kFastInstaller);
    macbox::set("bless", bless);
    signWithVersion(helperInBundle(), row.installed);
    root.registerHelper(helperInBundle());
    signWithVersion(helperInBundle(), row.shipped);
    macbox::askLaunchd(root.path(), {"unload", kHelper});                 // as an administrator may have done
    environment["KYB_MACBOX_SLOW_LOOK"] = "/PrivilegedHelperTools/=3000"; // the probe's failure comes before it
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(installedHelpersVersion(), bless == "always"s ? row.shipped : row.left);
}
INSTANTIATE_TEST_SUITE_P(Rows, MacVersion,
                         testing::Combine(testing::Values(VersionRow{"Older", "3", "4", "4"},
                                                          VersionRow{"Same", "4", "4", "4"},
                                                          VersionRow{"Newer", "10", "9", "10"},
                                                          VersionRow{"OlderByDigits", "9", "10", "10"}),
                                          testing::Values("newer", "always")),
                         [](const auto &row) { return std::get<0>(row.param).shows + "_"s + std::get<1>(row.param); });

// ---- What the documentation leaves open

struct TurnRow {
    const char *setting;
    const char *value;
};
class MacTurn : public MacRun, public testing::WithParamInterface<TurnRow> {};

TEST_P(MacTurn, ChangesNoOutcome) {
    putInstaller();
    macbox::set(GetParam().setting, GetParam().value);
    putSystemInstaller(kFastInstaller);
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(run().status, 0);
    putSystemInstaller(kFailingInstaller);
    EXPECT_EQ(run().status, 1);
    root.killHelpers();
    putSystemInstaller(kFastInstaller);
    EXPECT_EQ(run().status, 0);
    removeHelper(); // while it runs
    putSystemInstaller(kSlowInstaller);
    EXPECT_EQ(run().status, 0);
    root.killHelpers();
    removeHelper();
    EXPECT_EQ(run().status, 0);
}
INSTANTIATE_TEST_SUITE_P(Turns, MacTurn,
                         testing::Values(TurnRow{"last release", "invalid"}, TurnRow{"error order", "reply"},
                                         TurnRow{"no program", "nothing"}, TurnRow{"bless", "always"},
                                         TurnRow{"cut off", "invalid"}, TurnRow{"delay.event", "50"}),
                         [](const auto &row) {
                             std::string name = std::string(row.param.setting) + row.param.value;
                             std::erase_if(name, [](char c) { return c == ' ' || c == '.'; });
                             return name;
                         });

struct DelayRow {
    const char *crossing;
    int comesInRun; ///< the first, without a helper, or the second; 0 where that is not sure
};
class MacDelay : public MacRun, public testing::WithParamInterface<std::tuple<DelayRow, int>> {
protected:
    std::size_t timesDelayed() const {
        const std::string news = "delayed "s + std::get<0>(GetParam()).crossing;
        return callsOf(kProgram, news).size() + callsOf(kHelper, news).size();
    }

    /// An installation that goes on until what is late has come, if it is sure to come in this run.
    void install(int number) {
        const auto [row, milliseconds] = GetParam();
        const std::size_t before = timesDelayed();
        putSystemInstaller(row.comesInRun == number ? kWaitingInstaller : installerThatTakes(milliseconds + 1000));
        const auto process = start();
        if (row.comesInRun == number) {
            waitUntil([&] { return timesDelayed() > before; });
            root.write("/go", "");
        }
        EXPECT_EQ(process->wait(), 0);
    }

    /// Waits for what a run that has ended may have left on its way.
    void waitForWhatIsLate() const {
        const auto deadline =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(std::get<1>(GetParam()) + 1000);
        while (timesDelayed() == 0 && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
};

TEST_P(MacDelay, ChangesNoOutcome) {
    const auto [row, milliseconds] = GetParam();
    putInstaller();
    macbox::set("delay."s + row.crossing, std::to_string(milliseconds));
    install(1);
    install(2);
    putSystemInstaller(kFailingInstaller);
    EXPECT_EQ(run().status, 1);
    waitForWhatIsLate();
    // A probe that the installation overtook was answered too late to be held up in that run.
    environment["KYB_MACBOX_SLOW_LOOK"] = "/PrivilegedHelperTools/=2000"; // between the probe and the installation
    constexpr int kMostRuns = 12;
    for (int i = 3; timesDelayed() == 0 && i < kMostRuns; ++i) {
        install(i);
    }
    EXPECT_GT(timesDelayed(), 0U);
}
INSTANTIATE_TEST_SUITE_P(
    Crossings, MacDelay,
    testing::Combine(testing::Values(DelayRow{"connection", 2}, DelayRow{"message", 0}, DelayRow{"reply", 0},
                                     DelayRow{"event", 1}, DelayRow{"departure", 0}, DelayRow{"file", 0}),
                     testing::Values(100, 1000, 5000)),
    [](const auto &row) { return std::get<0>(row.param).crossing + std::to_string(std::get<1>(row.param)); });

// ---- Many

class ManyMacRuns : public MacRun, public testing::WithParamInterface<unsigned> {};

/// Good and failing ones, fast and slow, with a helper that runs, one that does not, and none.
TEST_P(ManyMacRuns, AllEndWithTheTrueOutcome) {
    constexpr int kRuns = 20;
    const struct {
        const char *installer;
        int status;
    } kInstallers[] = {{kFastInstaller, 0}, {kSlowInstaller, 0}, {kFailingInstaller, 1}, {kSlowFailingInstaller, 1}};
    putInstaller();
    std::mt19937 random(GetParam());
    for (int i = 0; i < kRuns; ++i) {
        const auto &installer = kInstallers[random() % std::size(kInstallers)];
        putSystemInstaller(installer.installer);
        const auto helper = random() % 3;
        if (helper > 0) {
            root.killHelpers();
        }
        if (helper > 1) {
            removeHelper();
        }
        const Ran outcome = run();
        ASSERT_EQ(outcome.status, installer.status) << "run " << i << ", helper " << helper << ": " << outcome.errors;
    }
}
INSTANTIATE_TEST_SUITE_P(Seeds, ManyMacRuns, testing::Range(1U, 11U));

} // namespace
