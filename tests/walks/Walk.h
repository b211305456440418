#pragma once

#include "User.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <gtest/gtest.h>

class KYAppDelegate;
class KYViewController;

/// Walks through the whole program in a real window, against the real helper and the stand-in for macOS. Each test is a
/// process with a display, a root folder and an installer folder of its own (see walk-in).
class Walk : public ::testing::Test {
protected:
    /// Starts the program as `main` does, lets \p steps play the user, and returns when the program was asked to end.
    /// \return the exit status.
    int walk(const std::function<void(User &)> &steps);

    /// Runs between the application object's making and the interface's loading.
    virtual void prepareApplication() {}

    QString scratch() const;
    QString path(const QString &fixedPath) const;
    QByteArray read(const QString &fixedPath) const;
    void write(const QString &fixedPath, const QByteArray &content) const;
    bool exists(const QString &fixedPath) const;
    QStringList logEntries() const;

    /// Replaces the package in the installer folder.
    void putPackage(const QStringList &options) const;

    /// Puts a shell script in place of a system program.
    void putProgram(const QString &fixedPath, const QByteArray &script) const;

    /// Makes the root folder one that has an earlier version.
    void installEarlierVersion() const;

    KYViewController *controller = nullptr;
    KYAppDelegate *delegate = nullptr;
};
