#pragma once

#include "User.h"
#include "support/RootFolder.h"

#include <functional>
#include <gtest/gtest.h>

class KYViewController;

// What the walks press, see and drag, by its object name.
inline const QString kBox = QStringLiteral("checkBoxButton");
inline const QString kForward = QStringLiteral("multipleActionsButton");
inline const QString kDrag = QStringLiteral("installationView");
inline const QString kChoice = QStringLiteral("publicOrPrivateView");
inline const QString kProgress = QStringLiteral("installationProgressView");
inline const QString kResult = QStringLiteral("installationResultView");
inline const QString kClose = QStringLiteral("closeButton");
inline const QString kIcon = QStringLiteral("sourceIconView");
inline const QString kDestination = QStringLiteral("destinationIconView");

/// A text in the language that the program runs in.
QString textOf(const char *key);

void waitForTheCatalog(User &user);
void acceptTerms(User &user);

/// Walks through the whole program in a real window, against the real helper and the stand-in for macOS. Each test is a
/// process with a display and an installer folder of its own (see walk-in), and a root folder beside that.
class Walk : public ::testing::Test {
protected:
    Walk();

    /// Starts the program as `main` does, lets \p steps play the user, and returns when the program was asked to end.
    /// \return the exit status.
    int walk(const std::function<void(User &)> &steps);

    /// Runs between the application object's making and the interface's loading.
    virtual void prepareApplication() {}

    /// The package in the installer folder; another may take its place before the walk.
    std::string package() const;

    /// Makes the root folder one that has an earlier version.
    void installEarlierVersion() const;

    const kyb::test::RootFolder root;
    KYViewController *controller = nullptr;
};
