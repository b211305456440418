#pragma once

#include "FakeMachine.h"
#include "FakeUserInterface.h"
#include "controller/KYViewController.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

inline const QString kProgress = QStringLiteral("/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log");

/// A controller on a fake machine, with the flags at their initial values. Interactive tests connect the screens.
/// Nothing of the test runs any more when it has ended.
class ControllerTest : public ::testing::Test {
protected:
    ControllerTest();
    ~ControllerTest() override;

    /// Connects every control of `screens`.
    void connectScreens() { controller->connectOutlets(screens); }

    /// Puts the package and a version list beside the bundle, and a short string table into it.
    void putPackage();
    void putTexts(const QByteArray &table);
    void putHelper();

    /// Puts a program in place of a system program that only tells how it was called. There is one for sudo, which the
    /// shell finds before the host's.
    void putProgram(const QString &fixedPath);

    /// What these programs were asked, in order: "sudo [chmod] [-R]".
    QStringList asked() const;

    /// A package record as after a scan that found the package.
    void makeSelectedApp();

    /// Turns the event loop until no task runs or waits any more.
    void settle();

    /// Turns the event loop until \p condition holds; fails the test after a while.
    void waitUntil(const std::function<bool()> &condition);

    /// Runs \p start in the event loop until the application is asked to terminate or nothing is left to do; then
    /// settles. \return the exit status, or nothing when nobody asked to terminate.
    std::optional<int> runApplication(const std::function<void()> &start);

    FakeControl &screen(const char *name) { return screens[QString::fromLatin1(name)]; }
    QStringList wrapperLogLines() const;

    /// What one background task did of the machine's story; 0: all but what background tasks did.
    QStringList storyOf(int task) const;

    FakeMachine &machine = FakeMachine::instance();
    FakeUserInterface screens;
    std::unique_ptr<KYViewController> controller;

private:
    void resetFlags();

    int argc_ = 1;
    char name_[5] = "test";
    char *argv_[2] = {name_, nullptr};
    std::unique_ptr<QCoreApplication> application_;
};
