#include "WizardTest.h"

#include "base/KYGlobalConstants.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QLineEdit>
#include <QMenu>
#include <QTest>
#include <QToolBar>

namespace {

/// What assistive technology does with a control: no mouse, no keys.
class AssistiveTechnology : public WizardTest {
protected:
    AssistiveTechnology() {
        for (const char *choice : kChoices) {
            control(choice).setEnabled(true);
            actionsOf(choice);
        }
        open();
    }

    static void act(QAccessibleInterface *accessible, const QString &action) {
        ASSERT_NE(accessible, nullptr);
        ASSERT_NE(accessible->actionInterface(), nullptr);
        ASSERT_TRUE(accessible->actionInterface()->actionNames().contains(action)) << qPrintable(action);
        accessible->actionInterface()->doAction(action);
    }
    static void press(QObject &object) {
        act(QAccessible::queryAccessibleInterface(&object), QAccessibleActionInterface::pressAction());
    }
    void toggle(const char *name) {
        act(QAccessible::queryAccessibleInterface(&object(name)), QAccessibleActionInterface::toggleAction());
    }
    /// The button of that accessible name.
    static QAbstractButton &buttonIn(QWidget &whole, const std::string &name) {
        for (auto *button : whole.findChildren<QAbstractButton *>()) {
            if (QAccessible::queryAccessibleInterface(button)->text(QAccessible::Name).toStdString() == name) {
                return *button;
            }
        }
        ADD_FAILURE() << "no button " << name;
        std::abort();
    }
    bool isChecked(const char *name) { return control<kyb::CheckBox>(name).isChecked(); }

    static constexpr const char *kChoices[] = {"checkBoxButton", "publicCheckBoxButton", "privateCheckBoxButton"};
};

TEST_F(AssistiveTechnology, TogglesACheckBoxAndRunsItsActionOnce) {
    for (const char *choice : kChoices) {
        const bool before = isChecked(choice);
        toggle(choice);
        EXPECT_NE(isChecked(choice), before) << choice;
        EXPECT_EQ(actionsOf(choice), 1) << choice;
        toggle(choice);
        EXPECT_EQ(isChecked(choice), before) << choice;
        EXPECT_EQ(actionsOf(choice), 2) << choice;
    }
}

TEST_F(AssistiveTechnology, MouseAndKeyRunTheActionOfACheckBoxOnceAsWell) {
    QTest::mouseClick(&object("checkBoxButton"), Qt::LeftButton);
    EXPECT_EQ(actionsOf("checkBoxButton"), 1);
    QTest::keyClick(&object("checkBoxButton"), Qt::Key_Space);
    EXPECT_EQ(actionsOf("checkBoxButton"), 2);
    EXPECT_FALSE(isChecked("checkBoxButton"));
}

TEST_F(AssistiveTechnology, CannotToggleWhatIsDisabled) {
    control("checkBoxButton").setEnabled(false);
    QAccessible::queryAccessibleInterface(&object("checkBoxButton"))
        ->actionInterface()
        ->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_FALSE(isChecked("checkBoxButton"));
    EXPECT_EQ(actionsOf("checkBoxButton"), 0);
}

TEST_F(AssistiveTechnology, AcceptsTheTerms) {
    controller.connectOutlets(*wizard);
    control("multipleActionsButton").setEnabled(false);
    toggle("checkBoxButton");
    EXPECT_TRUE(isTermsAndConditionsAccepted);
    EXPECT_TRUE(control("multipleActionsButton").isEnabled());
    toggle("checkBoxButton");
    EXPECT_FALSE(isTermsAndConditionsAccepted);
    EXPECT_FALSE(control("multipleActionsButton").isEnabled());
}

TEST_F(AssistiveTechnology, ChoosesPublicOrPrivateAndTheOtherChoiceIsOnlyTakenAway) {
    controller.connectOutlets(*wizard);
    isPrivateComputerAccepted = true;
    toggle("publicCheckBoxButton");
    EXPECT_FALSE(isPrivateComputerAccepted);
    EXPECT_FALSE(isChecked("privateCheckBoxButton"));
    EXPECT_EQ(actionsOf("privateCheckBoxButton"), 0); // whose action would take the first one away again
    toggle("privateCheckBoxButton");
    EXPECT_TRUE(isPrivateComputerAccepted);
    EXPECT_FALSE(isChecked("publicCheckBoxButton"));
    EXPECT_EQ(actionsOf("publicCheckBoxButton"), 1);
}

TEST_F(AssistiveTechnology, PressesButtons) {
    for (const char *name : {"multipleActionsButton", "cancelButton", "backButton", "closeButton",
                             "termsOfServiceButton", "quit_App_WarningSheet_OK", "warningSheetOKButton",
                             "warningSheetCancelButton", "appsBusyWarningSheet_CancelButton"}) {
        const int &presses = actionsOf(name);
        control(name).setEnabled(true);
        press(object(name));
        waitUntil([&] { return presses > 0; });
        EXPECT_EQ(presses, 1) << name;
    }
}

TEST_F(AssistiveTechnology, PressesMenuItems) {
    for (const char *name : {"quitMenuItem", "showLogMenuItem"}) {
        const int &presses = actionsOf(name);
        auto &item = object<QAction>(name);
        control<kyb::MenuItem>(name).setHidden(false);
        control<kyb::MenuItem>(name).setEnabled(true);
        auto *menu = qobject_cast<QMenu *>(item.associatedObjects().value(0));
        ASSERT_NE(menu, nullptr) << name;
        const auto place = static_cast<int>(menu->actions().indexOf(&item));
        act(QAccessible::queryAccessibleInterface(menu)->child(place), QAccessibleActionInterface::pressAction());
        EXPECT_EQ(presses, 1) << name;
    }
}

TEST_F(AssistiveTechnology, PressesToolBarItems) {
    const int &presses = actionsOf("saveButtonItem");
    control<kyb::ToolBar>("logToolBar").insertItem(control<kyb::MenuItem>("saveButtonItem"), 0);
    QWidget *button = object<QToolBar>("logToolBar").widgetForAction(&object<QAction>("saveButtonItem"));
    ASSERT_NE(button, nullptr);
    press(*button);
    waitUntil([&] { return presses > 0; });
    EXPECT_EQ(presses, 1);
}

TEST_F(AssistiveTechnology, FiltersTheLogAndClearsTheFilter) {
    const int &edits = actionsOf("searchItem");
    control<kyb::ToolBar>("logToolBar").insertItem(control<kyb::MenuItem>("searchItem"), 0);
    control<kyb::Window>("logWindow").makeKeyAndOrderFront();
    auto *field = object("logToolBar").findChild<QLineEdit *>();
    ASSERT_NE(field, nullptr);
    QAccessible::queryAccessibleInterface(field)->setText(QAccessible::Value, QStringLiteral("installer"));
    EXPECT_EQ(edits, 1);
    EXPECT_EQ(control<kyb::HasText>("searchItem").text().toStdString(), "installer");
    press(buttonIn(*field, "Clear Filter"));
    waitUntil([&] { return edits > 1; });
    EXPECT_EQ(control<kyb::HasText>("searchItem").text().toStdString(), "");
    press(buttonIn(*field, "Filter"));
    waitUntil([&] { return field->hasFocus(); });
}

} // namespace
