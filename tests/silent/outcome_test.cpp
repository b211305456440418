#include "SilentRun.h"

#include <algorithm>
#include <csignal>
#include <thread>

namespace {

using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;

/// An installer that waits, in the middle, for the file "go" below the root, and then does \p end.
std::string installerThat(const std::string &end) {
    return "#!/bin/sh\n"
           "root=${0%/usr/sbin/installer}\n"
           "echo 'installer:PHASE:Writing files'\n"
           "touch \"$root/waiting\"\n"
           "while [ ! -e \"$root/go\" ]; do sleep 0.02; done\n" +
           end + "\n";
}

/// What the program says and returns is what has happened, whenever it looks.
class Outcome : public SilentRun {
protected:
    /// Starts a run and stops the program while its installer waits.
    std::unique_ptr<Program> startAndStop(const std::string &installersEnd) {
        root.putProgram("/usr/sbin/installer", installerThat(installersEnd));
        auto process = start();
        waitUntil([this] { return root.exists("/waiting"); });
        process->sendSignal(SIGSTOP);
        root.write("/go", "");
        return process;
    }

    Ran goOn(Program &process) {
        process.sendSignal(SIGCONT);
        return finish(process);
    }

    std::string progress() const { return kyb::test::contentOf(root.progressFile()); }

    /// Has the next run install a package, or fail to.
    void putNext(bool succeeds) const {
        root.remove("/usr/sbin/installer");
        root.putProgram("/usr/sbin/installer", succeeds
                                                   ? "#!/bin/sh\necho 'installer: The install was successful.'\n"
                                                   : "#!/bin/sh\necho 'installer: The install failed. (x)'\nexit 1\n");
    }
};

class LateLook : public Outcome, public ::testing::WithParamInterface<std::chrono::milliseconds> {};

TEST_P(LateLook, OfAProgramThatWasStoppedMeetsTheFailure) {
    putInstaller();
    const auto process = startAndStop("exit 3");
    waitUntil(
        [this] { return progress().find("installer: The install failed (exit status 3)\n") != std::string::npos; });
    std::this_thread::sleep_for(GetParam());
    EXPECT_EQ(goOn(*process).status, 1);
}

INSTANTIATE_TEST_SUITE_P(Delays, LateLook, ::testing::Values(0ms, 100ms, 900ms, 1100ms, 2500ms),
                         [](const auto &row) { return "After" + std::to_string(row.param.count()) + "ms"; });

TEST_F(Outcome, AFailureIsNotEndedBeforeAProgramThatIsStoppedForLongHasSeenIt) {
    putInstaller();
    const std::string failure = "installer: The install failed (exit status 3)\nInstallation_";
    const auto process = startAndStop("exit 3");
    waitUntil([&] { return progress().ends_with(failure); });
    std::this_thread::sleep_for(11s); // the helper waits ten for others
    EXPECT_TRUE(progress().ends_with(failure));
    EXPECT_EQ(goOn(*process).status, 1);
    waitUntil([&] { return progress().ends_with(failure + "Done\n"); });
}

TEST_F(Outcome, ASuccessIsSeenAlthoughTheFileIsTakenAwayAfterTheLastLine) {
    putInstaller();
    const auto process = startAndStop("echo 'installer: The install was successful.'");
    waitUntil([this] { return progress().ends_with("Installation_Done\n"); });
    std::filesystem::remove(root.progressFile());
    EXPECT_EQ(goOn(*process).status, 0);
}

TEST_F(Outcome, ARunWhoseFinishedFileIsTakenAwayAgainAndAgainEnds) {
    putInstaller();
    const auto process = startAndStop("echo 'installer: The install was successful.'");
    waitUntil([this] { return progress().ends_with("Installation_Done\n"); });
    waitUntil([this] {
        std::filesystem::remove(root.progressFile());
        return helperLog().find("its client is dropped") != std::string::npos;
    });
    EXPECT_EQ(goOn(*process).status, 1);
}

TEST_F(Outcome, QuitSignalsThatWereRefusedDoNotEndTheProgramLater) {
    putInstaller();
    root.putProgram("/usr/sbin/installer", installerThat("echo 'installer: The install was successful.'"));
    const auto refusals = [this] {
        return std::ranges::count(root.logEntries(), "Ignored a request to quit: the installation is in progress.");
    };
    const auto process = start();
    waitUntil([this] { return root.exists("/waiting"); });
    for (int i = 0; i < 300; ++i) {
        process->sendSignal(SIGTERM);
        std::this_thread::sleep_for(1ms);
    }
    // NB: what is asked while the engine works may be answered later, and is granted then; so all answers are waited
    // for.
    for (std::ptrdiff_t answers = -1; answers != refusals();) {
        answers = refusals();
        std::this_thread::sleep_for(1s);
    }
    EXPECT_GT(refusals(), 0);
    root.write("/go", "");
    EXPECT_EQ(finish(*process).status, 0);
}

TEST_F(Outcome, AnInstallerThatSaysTheLastLineAndFailsHasFailed) {
    putInstaller();
    root.putProgram("/usr/sbin/installer", "#!/bin/sh\necho Installation_Done\nsleep 0.3\nexit 1\n");
    EXPECT_EQ(run().status, 1);
}

/// As on old systems. The program looks at the next-to-last line and then at the last one: the end comes in between.
TEST_F(Outcome, AnInstallerThatSaysThatItFailedAndEndsWithStatusZeroHasFailed) {
    putInstaller();
    root.putProgram("/usr/sbin/installer", installerThat("echo 'installer: The install failed. (x)'"));
    for (int i = 0; i < 6; ++i) {
        const auto process = start();
        ASSERT_TRUE(process->readUntil("14:PHASE_WriteFiles"));
        process->readLine();
        root.write("/go", "");
        EXPECT_EQ(finish(*process).status, 1);
        root.remove("/go");
    }
}

TEST_F(Outcome, TheInstallersReasonStaysInTheHelpersLog) {
    putInstaller();
    root.putProgram("/usr/sbin/installer", "#!/bin/sh\necho 'installer: Error - the disk is on fire.'\nexit 1\n");
    EXPECT_EQ(run().status, 1);
    EXPECT_THAT(helperLog(), HasSubstr("installer: The install failed (exit status 1: the disk is on fire.)"));
}

TEST_F(Outcome, NoByteOfTheInstallersHidesItsFailure) {
    putInstaller();
    root.putProgram("/usr/sbin/installer",
                    "#!/bin/sh\nprintf '\\000installer: The install failed (hidden)\\n'\nexit 1\n");
    EXPECT_EQ(run().status, 1);
}

TEST_F(Outcome, ASuccessIsSeenAlthoughTheFileIsEmptiedAfterTheLastLine) {
    putInstaller();
    const auto process = startAndStop("echo 'installer: The install was successful.'");
    waitUntil([this] { return progress().ends_with("Installation_Done\n"); });
    std::filesystem::resize_file(root.progressFile(), 0);
    EXPECT_EQ(goOn(*process).status, 0);
}

class RunAfterAFailure : public Outcome, public ::testing::WithParamInterface<int> {};

TEST_P(RunAfterAFailure, HasAnOutcomeOfItsOwn) {
    putInstaller();
    putNext(false);
    ASSERT_EQ(run().status, 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(GetParam()));
    putNext(true);
    EXPECT_EQ(run().status, 0);
    putNext(false);
    EXPECT_EQ(run().status, 1);
}

INSTANTIATE_TEST_SUITE_P(Milliseconds, RunAfterAFailure, ::testing::Values(0, 100, 250, 500, 750, 1000, 1250, 1500),
                         testing::PrintToStringParamName());

TEST_F(Outcome, ARunThatIsCutOffWithItsHelperHasFailedAndTheNextIsWell) {
    putInstaller();
    root.putProgram("/usr/sbin/installer",
                    "#!/bin/sh\nroot=${0%/usr/sbin/installer}\n"
                    "trap 'i=0; while [ $i -lt 40 ]; do sleep 0.05; i=$((i + 1)); done; echo late; echo ended "
                    ">>\"$root/order\"; exit 1' TERM\n"
                    "echo 'installer:PHASE:Writing files'\ntouch \"$root/waiting\"\nwhile :; do sleep 0.02; done\n");
    const auto cutOff = start();
    waitUntil([this] { return root.exists("/waiting"); });
    root.remove("/usr/sbin/installer");
    root.putProgram("/usr/sbin/installer", "#!/bin/sh\necho begins >>\"${0%/usr/sbin/installer}/order\"\n"
                                           "echo 'installer: The install was successful.'\n");
    kill(root.helpers().at(0), SIGTERM);
    waitUntil([this] { return helperLog().find("is dropped") != std::string::npos; });
    const auto next = start();
    EXPECT_EQ(finish(*cutOff).status, 1);
    EXPECT_EQ(finish(*next).status, 0);
    EXPECT_THAT(progress(), EndsWith("successful.\nInstallation_Done\n"));
    EXPECT_EQ(root.read("/order"), "ended\nbegins\n");
}

TEST_F(Outcome, TheInstallerHasTheTimeToTakeEverythingBackAndNothingOfItIsLeft) {
    putInstaller();
    root.putProgram("/usr/sbin/installer",
                    "#!/bin/sh\nroot=${0%/usr/sbin/installer}\ntouch \"$root/half\"\n"
                    "perl -e 'setpgrp(0, 0); $SIG{TERM} = \"IGNORE\"; sleep 300' \"$root/script\" &\n"
                    "trap 'sleep 0.5; rm \"$root/half\"; exit 1' TERM\n"
                    "touch \"$root/waiting\"\nwhile :; do sleep 0.02; done\n");
    const auto process = start();
    waitUntil([this] { return root.exists("/waiting"); });
    const pid_t helper = root.helpers().at(0);
    kill(helper, SIGTERM);
    EXPECT_EQ(finish(*process).status, 1);
    waitUntil([helper] { return kyb::test::stateOf(helper) == 'X' || kyb::test::stateOf(helper) == 'Z'; });
    EXPECT_FALSE(root.exists("/half"));
    EXPECT_EQ(kyb::test::runProgram({"/usr/bin/pgrep", "-f", root.at("/script")}).status, 1) << "it runs on";
}

} // namespace
