#include "WizardTest.h"

#include "base/KYGlobalConstants.h"
#include "base/threads.h"

#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QScreen>
#include <QTest>
#include <QWindow>

namespace {

TEST_F(WizardTest, TheMainWindowHasOneSizeAndStandsInTheMiddle) {
    open();
    EXPECT_EQ(wizard->window()->centralWidget()->size(), QSize(720, 480));
    EXPECT_EQ(wizard->window()->minimumSize(), wizard->window()->maximumSize());
    const QPoint off = wizard->window()->geometry().center() - wizard->window()->screen()->availableGeometry().center();
    EXPECT_LT(off.manhattanLength(), 8);
}

TEST_F(WizardTest, NoTextOfAScreenChangesTheSizeOfTheWindow) {
    open();
    const QSize before = wizard->window()->size();
    control<kyb::Text>("titleDragandDropMessage").setText(QStringLiteral("Word ").repeated(200));
    control<kyb::Text>("packageNameLabel").setText(QStringLiteral("Wordwordword").repeated(40));
    control<kyb::Button>("cancelButton").setText(QStringLiteral("A rather long title for a button"));
    QCoreApplication::processEvents();
    EXPECT_EQ(wizard->window()->size(), before);
}

TEST(WizardFont, IsOfAtLeastTenPoints) {
    char name[] = "installer";
    std::array<char *, 2> words{name, nullptr};
    for (const auto &[given, shown] : {std::pair(8.0, 10.0), std::pair(9.5, 10.0), std::pair(14.0, 14.0)}) {
        QFont font;
        font.setPointSizeF(given);
        QApplication::setFont(font);
        int count = 1;
        const kyb::Wizard wizard(count, words.data());
        EXPECT_EQ(QApplication::font().pointSizeF(), shown);
    }
}

TEST_F(WizardTest, TheMainWindowClosesWhenNothingRuns) {
    open();
    EXPECT_TRUE(wizard->window()->close());
    EXPECT_FALSE(control("parentWindow").isVisible());
}

TEST_F(WizardTest, TheMainWindowStaysWhileTheEngineWorks) {
    open();
    for (kyb::Flag *flag : {&installationInProgress, &uninstallationInProgress}) {
        *flag = true;
        EXPECT_FALSE(wizard->window()->close());
        EXPECT_TRUE(control("parentWindow").isVisible());
        *flag = false;
    }
}

TEST_F(WizardTest, TheCloseButtonCanBeTakenAway) {
    open();
    control<kyb::Window>("parentWindow").setCloseButtonEnabled(false);
    EXPECT_FALSE(wizard->window()->windowHandle()->flags().testFlag(Qt::WindowCloseButtonHint));
    EXPECT_FALSE(wizard->window()->close());
    EXPECT_TRUE(control("parentWindow").isVisible());
    control<kyb::Window>("parentWindow").setCloseButtonEnabled(true);
    EXPECT_TRUE(wizard->window()->windowHandle()->flags().testFlag(Qt::WindowCloseButtonHint));
    EXPECT_TRUE(wizard->window()->close());
}

TEST_F(WizardTest, TheApplicationEndsWithItsLastWindow) {
    kyb::onMainThread([this] {
        control<kyb::Window>("parentWindow").makeKeyAndOrderFront();
        control<kyb::Window>("logWindow").makeKeyAndOrderFront();
        object("logWindow").close();
        wizard->window()->close();
    });
    EXPECT_EQ(wizard->run(), 0);
}

TEST_F(WizardTest, ClosingTheLogEndsNothing) {
    bool ended = true;
    kyb::onMainThread([&] {
        control<kyb::Window>("parentWindow").makeKeyAndOrderFront();
        control<kyb::Window>("logWindow").makeKeyAndOrderFront();
        object("logWindow").close();
        kyb::onMainThread([&] {
            ended = false;
            wizard->window()->close();
        });
    });
    wizard->run();
    EXPECT_FALSE(ended);
}

TEST_F(WizardTest, WithoutItsLastWindowItGoesOnWhileTheEngineWorks) {
    bool goesOn = false;
    kyb::onMainThread([&] {
        control<kyb::Window>("logWindow").makeKeyAndOrderFront();
        installationInProgress = true;
        object("logWindow").close();
        kyb::onMainThread([&] {
            goesOn = true;
            QCoreApplication::exit(7);
        });
    });
    EXPECT_EQ(wizard->run(), 7);
    EXPECT_TRUE(goesOn);
}

TEST_F(WizardTest, QuittingFromOutsideIsRefusedWhileTheEngineWorks) {
    controller.connectOutlets(*wizard);
    open();
    installationInProgress = true;
    QEvent quit(QEvent::Quit);
    quit.accept();
    QCoreApplication::sendEvent(qApp, &quit);
    EXPECT_FALSE(quit.isAccepted());
    EXPECT_TRUE(control("parentWindow").isVisible());
    EXPECT_TRUE(control("quitAppWarningSheet").isVisible());
}

TEST_F(WizardTest, QuittingFromOutsideEndsAnIdleApplication) {
    kyb::onMainThread([this] {
        control<kyb::Window>("parentWindow").makeKeyAndOrderFront();
        QEvent quit(QEvent::Quit);
        QCoreApplication::sendEvent(qApp, &quit);
    });
    EXPECT_EQ(wizard->run(), 0);
}

TEST_F(WizardTest, ASheetBlocksTheMainWindowAlone) {
    open();
    for (const char *name : {"quitAppWarningSheet", "warningSheetWindow", "appsBusyWarningSheetWindow"}) {
        control<kyb::Window>("parentWindow").beginSheet(control<kyb::Sheet>(name));
        EXPECT_TRUE(control(name).isVisible()) << name;
        EXPECT_EQ(object(name).windowModality(), Qt::WindowModal) << name;
        EXPECT_EQ(object(name).parentWidget(), wizard->window()) << name;
        int &presses = actionsOf("cancelButton");
        QTest::mouseClick(wizard->window()->windowHandle(), Qt::LeftButton, {},
                          object("cancelButton").mapTo(wizard->window(), QPoint(10, 10)));
        EXPECT_EQ(presses, 0) << name;
        control<kyb::Sheet>(name).endSheet();
        control<kyb::Sheet>(name).orderOut();
        EXPECT_FALSE(control(name).isVisible()) << name;
    }
}

TEST_F(WizardTest, ASheetCanBeNeitherMinimisedNorMaximised) {
    for (const char *name : {"quitAppWarningSheet", "warningSheetWindow", "appsBusyWarningSheetWindow"}) {
        const Qt::WindowFlags flags = object(name).windowFlags();
        EXPECT_TRUE(flags.testFlag(Qt::CustomizeWindowHint)) << name; // else the rest is the window manager's choice
        EXPECT_FALSE(flags.testAnyFlags(Qt::WindowMinMaxButtonsHint)) << name;
        EXPECT_TRUE(flags.testFlags(Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint)) << name;
    }
}

TEST_F(WizardTest, TheCloseButtonOfASheetPressesItsCancelButton) {
    open();
    int &presses = actionsOf("quit_App_WarningSheet_OK");
    control<kyb::Window>("parentWindow").beginSheet(control<kyb::Sheet>("quitAppWarningSheet"));
    object("quitAppWarningSheet").close();
    EXPECT_EQ(presses, 1);
    EXPECT_TRUE(control("quitAppWarningSheet").isVisible());
}

TEST_F(WizardTest, ASheetBringsAMinimisedWindowBack) {
    open();
    wizard->window()->showMinimized();
    EXPECT_TRUE(control<kyb::Window>("parentWindow").isMinimised());
    control<kyb::Window>("parentWindow").beginSheet(control<kyb::Sheet>("quitAppWarningSheet"));
    EXPECT_FALSE(control<kyb::Window>("parentWindow").isMinimised());
}

TEST_F(WizardTest, AMinimisedWindowIsNotVisible) {
    control<kyb::Window>("logWindow").makeKeyAndOrderFront();
    EXPECT_TRUE(control("logWindow").isVisible());
    object("logWindow").showMinimized();
    EXPECT_FALSE(control("logWindow").isVisible());
    control<kyb::Window>("logWindow").makeKeyAndOrderFront();
    EXPECT_TRUE(control("logWindow").isVisible());
}

TEST_F(WizardTest, TheLogWindowOpensInItsOwnSize) {
    control<kyb::Window>("logWindow").makeKeyAndOrderFront();
    EXPECT_EQ(object("logWindow").size(), QSize(880, 560));
}

TEST_F(WizardTest, TheAboutPanelTellsNameAndVersion) {
    open();
    object<QAction>("aboutMenuItem").trigger();
    const auto *panel = wizard->window()->findChild<QMessageBox *>();
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(panel->text().toStdString(), "Brelund Quorlix Installer");
    EXPECT_FALSE(QCoreApplication::applicationVersion().isEmpty());
    EXPECT_TRUE(panel->informativeText().contains(QCoreApplication::applicationVersion()));
}

} // namespace
