#include "ControllerTest.h"
#include "support/turn_until.h"

#include <ctime>

namespace {

using namespace std::chrono_literals;

class ProgressChannel : public ControllerTest {
protected:
    /// Simulates the uninstall's progress, to the end of the installation of nothing that follows it.
    void runUninstallProgress() {
        makeSelectedApp();
        controller->selectedApp->isSelectedForInstall = false;
        kyb::inBackground([this] { controller->startUninstallationProgressUpdate(); });
        settle();
    }
};

TEST_F(ProgressChannel, AMessageMovesTheBarAndSetsTheText) {
    connectScreens();
    controller->displayProgressInfo({42.5, QStringLiteral("Copying")});
    EXPECT_EQ(screens.journal, (QStringList{QStringLiteral("installProgressIndicator value 42.5"),
                                            QStringLiteral("progressInfoLabel text \"Copying\""),
                                            QStringLiteral("installProgressIndicator display if needed"),
                                            QStringLiteral("progressInfoLabel display if needed")}));
}

TEST_F(ProgressChannel, AnEmptyTextMovesTheBarAndLeavesTheText) {
    connectScreens();
    screen("progressInfoLabel").currentText = QStringLiteral("Copying");
    controller->displayProgressInfo({43, QString()});
    EXPECT_EQ(screen("installProgressIndicator").currentValue, 43);
    EXPECT_EQ(screen("progressInfoLabel").currentText, QStringLiteral("Copying"));
}

TEST_F(ProgressChannel, TheBarStartsToAnimateAtTenAndIsDrawnAtOnce) {
    connectScreens();
    controller->updatesTheInstallationProgressbar();
    EXPECT_EQ(screens.journal, (QStringList{QStringLiteral("installProgressIndicator animate"),
                                            QStringLiteral("installProgressIndicator value 10"),
                                            QStringLiteral("installProgressIndicator display")}));
}

TEST_F(ProgressChannel, TheBarOfAMinimisedWindowIsNotDrawn) {
    connectScreens();
    screen("parentWindow").minimised = true;
    controller->updatesTheInstallationProgressbar();
    EXPECT_FALSE(screens.journal.contains(QStringLiteral("installProgressIndicator display")));
}

TEST_F(ProgressChannel, TheUninstallIsDoneWhenTheBarIsAtItsEnd) {
    connectScreens();
    screen("installProgressIndicator").currentValue = 99.9;
    controller->checkTheUninstallationProgressbarPercentage();
    EXPECT_FALSE(isUninstallationDone);
    screen("installProgressIndicator").currentValue = 100;
    controller->checkTheUninstallationProgressbarPercentage();
    EXPECT_TRUE(isUninstallationDone);
}

TEST_F(ProgressChannel, AnUninstallThatEndsAfterTheFirstPassStillShowsItsEndForASecond) {
    connectScreens();
    putTexts("\"UninstallComplete\" = \"Removed\";");
    uninstallationInProgress = true;
    machine.onSleep = [](std::chrono::milliseconds) { uninstallationInProgress = false; };
    runUninstallProgress();
    EXPECT_EQ(screen("installProgressIndicator").values, (std::vector<double>{0.5, 100.0, 0.0, 100.0}));
    EXPECT_TRUE(screens.journal.contains(QStringLiteral("progressInfoLabel text \"Removed\"")));
    EXPECT_EQ(machine.sleeps(), (std::vector<std::chrono::milliseconds>{50ms, 1000ms}));
    EXPECT_TRUE(controller->internalLog().startsWith(
        QStringLiteral("Uninstallation completed successfully: will start installation progressbar\n")));
}

TEST_F(ProgressChannel, AnUninstallThatIsOverAlreadyHasNoSteps) {
    connectScreens();
    runUninstallProgress();
    EXPECT_EQ(screen("installProgressIndicator").values, (std::vector<double>{100.0, 0.0, 100.0}));
}

TEST_F(ProgressChannel, TheStepsEndAtSeventyAndAHalf) {
    connectScreens();
    uninstallationInProgress = true;
    int passes = 0;
    machine.onSleep = [&passes](std::chrono::milliseconds) {
        if (++passes == 500) {
            uninstallationInProgress = false;
        }
    };
    runUninstallProgress();
    const std::vector<double> &values = screen("installProgressIndicator").values;
    ASSERT_EQ(values.size(), 141U + 3U); // 0.5 to 70.5, then the end, and the installation's start and end
    EXPECT_EQ(values[0], 0.5);
    EXPECT_EQ(values[139], 70.0);
    EXPECT_EQ(values[140], 70.5);
}

TEST_F(ProgressChannel, ABarAtItsEndEndsTheSteps) {
    connectScreens();
    uninstallationInProgress = true;
    isUninstallationDone = true;
    runUninstallProgress();
    EXPECT_EQ(screen("installProgressIndicator").values, (std::vector<double>{0.5, 100.0, 0.0, 100.0}));
}

/// How long all threads but the calling one have had a processor.
std::chrono::nanoseconds processorTimeOfOthers() {
    const auto read = [](clockid_t clock) {
        timespec time{};
        clock_gettime(clock, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    };
    return read(CLOCK_PROCESS_CPUTIME_ID) - read(CLOCK_THREAD_CPUTIME_ID);
}

/// Turns the event loop until the other threads have had the processor for \p time, or there are none.
void letOthersRun(std::chrono::nanoseconds time) {
    const auto begin = processorTimeOfOthers();
    EXPECT_TRUE(kyb::test::turnUntil([&] { return processorTimeOfOthers() - begin >= time || kyb::isIdle(); }));
}

/// NB: no more than that; on a busy machine a thread that yields has a microsecond of the processor at a time.
constexpr auto kTimeForManyPasses = 200us;

/// Lets an uninstall take longer than the passes last, and leaves the process when that thread has gone idle for good.
[[noreturn]] void runPastTheLastPass(KYViewController &controller, FakeMachine &machine, FakeUserInterface &screens) {
    uninstallationInProgress = true;
    kyb::inBackground([&controller] { controller.startUninstallationProgressUpdate(); });
    EXPECT_TRUE(kyb::test::turnUntil([&machine] { return machine.sleeps().size() == 1001; }));
    letOthersRun(kTimeForManyPasses);
    uninstallationInProgress = false; // NB: not read any more
    letOthersRun(kTimeForManyPasses);
    const bool spins = machine.sleeps().size() == 1001 && !installationInProgress && !kyb::isIdle() &&
                       machine.journal().contains(QStringLiteral("let sleep")) &&
                       screens[QStringLiteral("installProgressIndicator")].currentValue == 70.5;
    kyb::endProcess(spins ? 0 : 1);
}

TEST_F(ProgressChannel, AnUninstallLongerThanAThousandPassesIsNeverFollowedByMoreYetTheProcessCanEnd) {
    ::testing::FLAGS_gtest_death_test_style = "fast";
    connectScreens();
    EXPECT_EXIT(runPastTheLastPass(*controller, machine, screens), ::testing::ExitedWithCode(0), "");
}

} // namespace
