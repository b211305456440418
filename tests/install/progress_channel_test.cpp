#include "ControllerTest.h"

#include <thread>

namespace {

using namespace std::chrono_literals;

class ProgressChannel : public ControllerTest {
protected:
    void startUninstallProgress() {
        kyb::inBackground([this] { controller->startUninstallationProgressUpdate(); });
    }
};

TEST_F(ProgressChannel, AMessageMovesTheBarAndSetsTheText) {
    connectScreens();
    controller->displayProgressInfo({42.5, QStringLiteral("Copying")});
    EXPECT_EQ(screen("installProgressIndicator").currentValue, 42.5);
    EXPECT_EQ(screen("progressInfoLabel").currentText, QStringLiteral("Copying"));
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
    makeSelectedApp();
    controller->selectedApp->isSelectedForInstall = false;
    uninstallationInProgress = true;
    machine.onSleep = [](std::chrono::milliseconds) { uninstallationInProgress = false; };
    startUninstallProgress();
    waitUntil([]() -> bool { return installationInProgress; });
    EXPECT_EQ(screen("installProgressIndicator").values, (std::vector<double>{0.5, 100.0, 0.0}));
    EXPECT_TRUE(screens.journal.contains(QStringLiteral("progressInfoLabel text \"Removed\"")));
    EXPECT_EQ(machine.sleeps(), (std::vector<std::chrono::milliseconds>{50ms, 1000ms}));
    EXPECT_EQ(controller->internalLog(),
              QStringLiteral("Uninstallation completed successfully: will start installation progressbar\n"));
}

TEST_F(ProgressChannel, AnUninstallThatIsOverAlreadyHasNoSteps) {
    connectScreens();
    makeSelectedApp();
    controller->selectedApp->isSelectedForInstall = false;
    startUninstallProgress();
    waitUntil([]() -> bool { return installationInProgress; });
    EXPECT_EQ(screen("installProgressIndicator").values, (std::vector<double>{100.0, 0.0}));
}

TEST_F(ProgressChannel, TheStepsEndAtSeventyAndAHalf) {
    connectScreens();
    makeSelectedApp();
    controller->selectedApp->isSelectedForInstall = false;
    uninstallationInProgress = true;
    int passes = 0;
    machine.onSleep = [&passes](std::chrono::milliseconds) {
        if (++passes == 500) {
            uninstallationInProgress = false;
        }
    };
    startUninstallProgress();
    waitUntil([]() -> bool { return installationInProgress; });
    const std::vector<double> &values = screen("installProgressIndicator").values;
    ASSERT_EQ(values.size(), 141U + 2U); // 0.5 to 70.5, then the end and the installation's start
    EXPECT_EQ(values[0], 0.5);
    EXPECT_EQ(values[139], 70.0);
    EXPECT_EQ(values[140], 70.5);
}

TEST_F(ProgressChannel, ABarAtItsEndEndsTheSteps) {
    connectScreens();
    makeSelectedApp();
    controller->selectedApp->isSelectedForInstall = false;
    uninstallationInProgress = true;
    isUninstallationDone = true;
    startUninstallProgress();
    waitUntil([]() -> bool { return installationInProgress; });
    EXPECT_EQ(screen("installProgressIndicator").values, (std::vector<double>{0.5, 100.0, 0.0}));
}

/// Lets an uninstall take longer than the passes last, and leaves the process when that thread has gone idle for good.
[[noreturn]] void runPastTheLastPass(KYViewController &controller, FakeMachine &machine, FakeUserInterface &screens) {
    uninstallationInProgress = true;
    kyb::inBackground([&controller] { controller.startUninstallationProgressUpdate(); });
    while (machine.sleeps().size() < 1001) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    uninstallationInProgress = true;
    for (int turn = 0; turn < 50; ++turn) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        std::this_thread::sleep_for(2ms);
        if (turn == 10) {
            uninstallationInProgress = false; // NB: not read any more
        }
    }
    const bool idle = machine.sleeps().size() == 1001 && !installationInProgress && kyb::backgroundTaskCount() == 1 &&
                      screens[QStringLiteral("installProgressIndicator")].currentValue == 70.5;
    kyb::endProcess(idle ? 0 : 1);
}

TEST_F(ProgressChannel, AnUninstallLongerThanAThousandPassesIsNeverFollowedByMoreYetTheProcessCanEnd) {
    ::testing::FLAGS_gtest_death_test_style = "fast";
    connectScreens();
    EXPECT_EXIT(runPastTheLastPass(*controller, machine, screens), ::testing::ExitedWithCode(0), "");
}

} // namespace
