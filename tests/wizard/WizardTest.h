#pragma once

#include "controller/KYAppDelegate.h"
#include "controller/KYViewController.h"
#include "ui/wizard/Wizard.h"
#include "ui/wizard/WizardWindow.h"

#include <QWidget>
#include <gtest/gtest.h>

/// The screens of the product, loaded and not yet on the screen.
class WizardTest : public ::testing::Test {
protected:
    WizardTest();
    ~WizardTest() override;

    /// Makes the appearance dark. What is shown already follows.
    static void goDark();

    /// Brings the main window to the screen and waits until it is the active one.
    void open();

    /// Turns the event loop until \p condition holds; fails the test after a while.
    static void waitUntil(const std::function<bool()> &condition);

    /// The control of that name, which is of that kind.
    template <class Kind = kyb::View> Kind &control(const char *name) {
        auto *found = dynamic_cast<Kind *>(wizard->control(QString::fromLatin1(name)));
        if (found == nullptr) {
            ADD_FAILURE() << "no such control " << name;
            std::abort();
        }
        return *found;
    }
    template <class Object = QWidget> Object &object(const char *name) {
        auto *found = qobject_cast<Object *>(wizard->object(QString::fromLatin1(name)));
        if (found == nullptr) {
            ADD_FAILURE() << "no " << name;
            std::abort();
        }
        return *found;
    }

    /// How often the action of the control has run.
    int &actionsOf(const char *name);

    /// Puts a screen into the box, over the drag screen, as the controller does.
    void showScreen(const char *name);

    int argc = 1;
    char name_[5] = "test";
    char *argv[2] = {name_, nullptr};
    std::unique_ptr<kyb::Wizard> wizard;
    KYViewController controller;
    KYAppDelegate delegate{controller};
    QString problem;
    std::map<std::string, int> actions;
};

/// The folder with the interface descriptions.
QString interfaceFolder();
