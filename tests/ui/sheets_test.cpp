#include "ControllerTest.h"
#include "controller/KYAppDelegate.h"

namespace {

class Sheets : public ControllerTest {
protected:
    void SetUp() override { connectScreens(); }

    KYAppDelegate delegate{*controller};
};

TEST_F(Sheets, QuitEndsTheApplicationWhileTheEngineIsIdle) {
    EXPECT_EQ(runApplication([this] { screen("quitMenuItem").press(); }), 0);
    EXPECT_EQ(runApplication([this] { screen("cancelButton").press(); }), 0);
    EXPECT_TRUE(screens.journal.isEmpty());
}

TEST_F(Sheets, QuitShowsTheWarningWhileTheEngineWorks) {
    for (kyb::Flag *flag : {&installationInProgress, &uninstallationInProgress}) {
        screens.journal.clear();
        *flag = true;
        EXPECT_EQ(runApplication([this] { screen("quitMenuItem").press(); }), std::nullopt);
        EXPECT_EQ(screens.journal, QStringList{QStringLiteral("parentWindow begin quitAppWarningSheet")});
        *flag = false;
    }
}

TEST_F(Sheets, OkClosesTheQuitWarningAndTheEngineGoesOn) {
    installationInProgress = true;
    EXPECT_EQ(runApplication([this] { screen("quit_App_WarningSheet_OK").press(); }), std::nullopt);
    EXPECT_EQ(screens.journal, (QStringList{QStringLiteral("quitAppWarningSheet end sheet"),
                                            QStringLiteral("quitAppWarningSheet out")}));
    EXPECT_TRUE(installationInProgress);
}

TEST_F(Sheets, TheTwoOtherSheetsBeginOnTheMainWindow) {
    controller->displayWarningSheet();
    controller->displayAppsBusyWarningSheet();
    EXPECT_EQ(screens.journal, (QStringList{QStringLiteral("parentWindow begin warningSheetWindow"),
                                            QStringLiteral("parentWindow begin appsBusyWarningSheetWindow")}));
}

TEST_F(Sheets, OkOfTheInstallationWarningClosesItAndStartsTheInstallation) {
    machine.rightsStatus = -60006;
    screen("warningSheetOKButton").press();
    EXPECT_EQ(screens.journal,
              (QStringList{QStringLiteral("warningSheetWindow end sheet"), QStringLiteral("warningSheetWindow out")}));
    EXPECT_EQ(machine.requests().size(), 1U);
}

TEST_F(Sheets, CancelOfTheInstallationWarningOnlyClosesIt) {
    screen("warningSheetCancelButton").press();
    EXPECT_EQ(screens.journal,
              (QStringList{QStringLiteral("warningSheetWindow end sheet"), QStringLiteral("warningSheetWindow out")}));
    EXPECT_TRUE(machine.requests().empty());
}

TEST_F(Sheets, CancelOfTheBusyWarningBlackensTheTextOfTheOtherSheetAndCloses) {
    screen("appsBusyWarningSheet_CancelButton").press();
    EXPECT_EQ(screens.journal, (QStringList{QStringLiteral("warningSheetTextView text colour black"),
                                            QStringLiteral("appsBusyWarningSheetWindow end sheet"),
                                            QStringLiteral("appsBusyWarningSheetWindow out")}));
}

TEST_F(Sheets, TheWindowMayCloseExactlyWhileTheEngineIsIdle) {
    for (const bool installing : {false, true}) {
        for (const bool uninstalling : {false, true}) {
            installationInProgress = installing;
            uninstallationInProgress = uninstalling;
            const bool safe = !installing && !uninstalling;
            EXPECT_EQ(delegate.isSafeToCloseWindow(), safe);
            EXPECT_EQ(delegate.windowShouldClose(), safe);
            EXPECT_EQ(delegate.applicationShouldTerminateAfterLastWindowClosed(), safe);
        }
    }
    EXPECT_TRUE(screens.journal.isEmpty());
}

TEST_F(Sheets, AQuitFromOutsideIsRefusedWithTheWarning) {
    EXPECT_TRUE(delegate.applicationShouldTerminate());
    installationInProgress = true;
    EXPECT_FALSE(delegate.applicationShouldTerminate());
    EXPECT_EQ(screens.journal, QStringList{QStringLiteral("parentWindow begin quitAppWarningSheet")});
}

} // namespace
