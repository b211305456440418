#include "WizardTest.h"

#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

namespace {

class Keyboard : public WizardTest {
protected:
    Keyboard() {
        for (const char *name : {"multipleActionsButton", "cancelButton", "backButton", "closeButton",
                                 "termsOfServiceButton", "quit_App_WarningSheet_OK", "warningSheetOKButton",
                                 "warningSheetCancelButton", "appsBusyWarningSheet_CancelButton"}) {
            actionsOf(name);
        }
        putAway("closeButton");
        putAway("backButton");
        open();
    }
    void putAway(const char *name) {
        control(name).setTransparent(true);
        control(name).setEnabled(false);
    }
    void bring(const char *name) {
        control(name).setTransparent(false);
        control(name).setEnabled(true);
    }
    void press(Qt::Key key) { QTest::keyClick(QApplication::activeWindow()->windowHandle(), key); }
    std::string focused() const {
        return QApplication::focusWidget() != nullptr ? QApplication::focusWidget()->objectName().toStdString() : "";
    }
};

TEST_F(Keyboard, TabGoesAsTheEyeDoes) {
    for (const char *next : {"sourceIconView", "checkBoxButton", "termsOfServiceButton", "cancelButton",
                             "multipleActionsButton", "sourceIconView"}) {
        press(Qt::Key_Tab);
        EXPECT_EQ(focused(), next);
    }
}

TEST_F(Keyboard, TabPassesOverWhatIsDisabled) {
    control("checkBoxButton").setEnabled(false);
    control("multipleActionsButton").setEnabled(false);
    for (const char *next : {"sourceIconView", "termsOfServiceButton", "cancelButton", "sourceIconView"}) {
        press(Qt::Key_Tab);
        EXPECT_EQ(focused(), next);
    }
}

TEST_F(Keyboard, ReturnPressesTheForwardButton) {
    object("checkBoxButton").setFocus();
    press(Qt::Key_Return);
    EXPECT_EQ(actionsOf("multipleActionsButton"), 1);
    press(Qt::Key_Enter);
    EXPECT_EQ(actionsOf("multipleActionsButton"), 2);
    EXPECT_FALSE(control<kyb::CheckBox>("checkBoxButton").isChecked());
}

TEST_F(Keyboard, ReturnDoesNothingWhileTheForwardButtonIsDisabled) {
    control("multipleActionsButton").setEnabled(false);
    object("checkBoxButton").setFocus();
    press(Qt::Key_Return);
    EXPECT_EQ(actionsOf("multipleActionsButton"), 0);
    EXPECT_EQ(actionsOf("cancelButton"), 0);
}

TEST_F(Keyboard, ReturnPressesTheButtonThatHasTheFocus) {
    object("termsOfServiceButton").setFocus();
    press(Qt::Key_Return);
    EXPECT_EQ(actionsOf("termsOfServiceButton"), 1);
    EXPECT_EQ(actionsOf("multipleActionsButton"), 0);
}

TEST_F(Keyboard, TheDefaultButtonStaysTheDefaultWhenTheFocusHasBeenOnIt) {
    object("multipleActionsButton").setFocus();
    object("checkBoxButton").setFocus();
    EXPECT_TRUE(object<QPushButton>("multipleActionsButton").isDefault());
    press(Qt::Key_Return);
    EXPECT_EQ(actionsOf("multipleActionsButton"), 1);
}

TEST_F(Keyboard, EscapeCancelsOnTheDragScreen) {
    object("checkBoxButton").setFocus();
    press(Qt::Key_Escape);
    EXPECT_EQ(actionsOf("cancelButton"), 1);
}

TEST_F(Keyboard, TheTermsHaveTheFocusAndEscapeAndReturnLeadBack) {
    showScreen("licenseView");
    control("cancelButton").setHidden(true);
    EXPECT_EQ(focused(), "licenseTextView");
    press(Qt::Key_Escape);
    press(Qt::Key_Return);
    EXPECT_EQ(actionsOf("multipleActionsButton"), 2);
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "termsOfServiceButton");
}

TEST_F(Keyboard, ThePublicOrPrivateScreenWorksByKeysAlone) {
    showScreen("publicOrPrivateView");
    control("cancelButton").setHidden(true);
    control("termsOfServiceButton").setHidden(true);
    bring("backButton");
    EXPECT_EQ(focused(), "privateCheckBoxButton");
    press(Qt::Key_Space);
    EXPECT_FALSE(control<kyb::CheckBox>("privateCheckBoxButton").isChecked());
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "backButton");
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "multipleActionsButton");
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "publicCheckBoxButton");
    press(Qt::Key_Escape);
    EXPECT_EQ(actionsOf("backButton"), 1);
    press(Qt::Key_Return);
    EXPECT_EQ(actionsOf("multipleActionsButton"), 1);
}

TEST_F(Keyboard, NothingAnswersOnTheProgressScreen) {
    for (const char *name : {"cancelButton", "multipleActionsButton", "backButton", "termsOfServiceButton"}) {
        putAway(name);
    }
    control("installationView").removeFromSuperview();
    control("installationBox").addSubview(control("installationProgressView"));
    press(Qt::Key_Return);
    press(Qt::Key_Escape);
    press(Qt::Key_Space);
    for (const auto &[name, count] : actions) {
        EXPECT_EQ(count, 0) << name;
    }
}

TEST_F(Keyboard, ReturnAndEscapeCloseOnTheResultScreen) {
    for (const char *name : {"cancelButton", "multipleActionsButton", "termsOfServiceButton"}) {
        putAway(name);
    }
    showScreen("installationResultView");
    bring("closeButton");
    press(Qt::Key_Return);
    press(Qt::Key_Escape);
    EXPECT_EQ(actionsOf("closeButton"), 2);
}

TEST_F(Keyboard, EscapeAndReturnAnswerASheet) {
    struct {
        const char *sheet, *escape, *enter;
    } const rows[] = {
        {"quitAppWarningSheet", "quit_App_WarningSheet_OK", "quit_App_WarningSheet_OK"},
        {"warningSheetWindow", "warningSheetCancelButton", "warningSheetOKButton"},
    };
    for (const auto &row : rows) {
        control<kyb::Window>("parentWindow").beginSheet(control<kyb::Sheet>(row.sheet));
        waitUntil([&] { return QApplication::activeWindow() == &object(row.sheet); });
        const int escapes = actionsOf(row.escape);
        press(Qt::Key_Escape);
        EXPECT_EQ(actionsOf(row.escape), escapes + 1) << row.sheet;
        EXPECT_TRUE(control(row.sheet).isVisible()) << "only its action ends a sheet";
        const int enters = actionsOf(row.enter);
        press(Qt::Key_Return);
        EXPECT_EQ(actionsOf(row.enter), enters + 1) << row.sheet;
        control<kyb::Sheet>(row.sheet).endSheet();
        control<kyb::Sheet>(row.sheet).orderOut();
        control<kyb::Window>("parentWindow").makeKeyAndOrderFront();
        waitUntil([&] { return QApplication::activeWindow() == wizard->window(); });
    }
    EXPECT_EQ(actionsOf("multipleActionsButton"), 0);
}

TEST_F(Keyboard, ControlQAsksToQuit) {
    int &quits = actionsOf("quitMenuItem");
    QTest::keyClick(wizard->window()->windowHandle(), Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quits, 1);
}

TEST_F(Keyboard, ControlQInTheLogWindowAsksToQuitAsWell) {
    int &quits = actionsOf("quitMenuItem");
    control<kyb::Window>("logWindow").makeKeyAndOrderFront();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&object("logWindow")));
    QTest::keyClick(object("logWindow").windowHandle(), Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quits, 1);
    EXPECT_TRUE(control("logWindow").isVisible()); // only the action decides
}

TEST_F(Keyboard, ControlLShowsTheLogOnceThereIsOne) {
    int &shows = actionsOf("showLogMenuItem");
    QTest::keyClick(wizard->window()->windowHandle(), Qt::Key_L, Qt::ControlModifier);
    EXPECT_EQ(shows, 0);
    control<kyb::MenuItem>("showLogMenuItem").setHidden(false);
    control<kyb::MenuItem>("showLogMenuItem").setEnabled(true);
    QTest::keyClick(wizard->window()->windowHandle(), Qt::Key_L, Qt::ControlModifier);
    EXPECT_EQ(shows, 1);
}

TEST_F(Keyboard, TheLogWindowHasTheUsualShortcuts) {
    control<kyb::ToolBar>("logToolBar").insertItem(control<kyb::MenuItem>("searchItem"), 1);
    control<kyb::ToolBar>("logToolBar").insertItem(control<kyb::MenuItem>("saveButtonItem"), 2);
    int &saves = actionsOf("saveButtonItem");
    control<kyb::Window>("logWindow").makeKeyAndOrderFront();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&object("logWindow")));
    QWindow *window = object("logWindow").windowHandle();
    object("logTextView").setFocus();
    QTest::keyClick(window, Qt::Key_F, Qt::ControlModifier);
    EXPECT_NE(qobject_cast<QLineEdit *>(QApplication::focusWidget()), nullptr);
    QTest::keyClick(window, Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(saves, 1);
    QTest::keyClick(window, Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(control("logWindow").isVisible());
    EXPECT_TRUE(control("parentWindow").isVisible());
}

} // namespace
