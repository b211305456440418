// Walks the wizard and saves every screen, sheet and the log window as PNG, as they are on the display. Driven by
// tools/screenshots, which sets:
//
//   KYB_SCREENSHOTS   what the files' names begin with, a folder included
//   KYB_APPEARANCE    light or dark

#include "Walk.h"

#include "base/KYGlobalConstants.h"
#include "controller/KYAppDelegate.h"
#include "controller/KYViewController.h"

#include <QApplication>
#include <QPalette>
#include <QScreen>
#include <QThread>
#include <QWidget>
#include <QWindow>

namespace {

/// Says that it has begun, waits for the file "go" below the root, and gives its place back to the installer itself.
const std::string kWaitingInstaller =
    "#!/bin/sh\n"
    "root=${0%/usr/sbin/installer}\n"
    "echo 'installer:PHASE:Writing files'\n"
    "echo 'installer:%1.000000'\n"
    "while [ ! -e \"$root/go\" ]; do sleep 0.02; done\n"
    "[ ! -e \"$root/fail\" ] || { echo 'installer: The install failed. (x)'; exit 1; }\n"
    "mv \"$root/usr/sbin/installer.real\" \"$0\" && exec \"$0\" \"$@\"\n";

QPalette darkPalette() {
    QPalette palette(QColor(0x2b, 0x2d, 0x31));
    palette.setColor(QPalette::Base, QColor(0x1e, 0x1f, 0x22));
    palette.setColor(QPalette::AlternateBase, QColor(0x26, 0x28, 0x2c));
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0x7e, 0xdb));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x7a, 0xb0, 0xff));
    for (const QPalette::ColorRole text : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, text, QColor(0x86, 0x88, 0x8c));
    }
    return palette;
}

class Screens : public Walk {
protected:
    void prepareApplication() override {
        if (qEnvironmentVariable("KYB_APPEARANCE") == QStringLiteral("dark")) {
            QApplication::setPalette(darkPalette());
        }
    }

    /// Saves what the display shows where the active window and what hangs on it lie, when it has come to rest.
    void save(User &user, const char *name) {
        QThread::msleep(600);
        user.onMain([&] {
            QRect area;
            for (QWidget *widget : QApplication::topLevelWidgets()) {
                if (widget->isVisible() && widget->windowType() != Qt::ToolTip) {
                    area |= widget->frameGeometry();
                }
            }
            const QString file =
                qEnvironmentVariable("KYB_SCREENSHOTS") + QString::fromLatin1(name) + QStringLiteral(".png");
            const QPixmap picture =
                QGuiApplication::primaryScreen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
            EXPECT_TRUE(picture.save(file)) << qPrintable(file);
        });
    }

    void putWaitingInstaller() {
        std::filesystem::rename(root.at("/usr/sbin/installer"), root.at("/usr/sbin/installer.real"));
        root.putProgram("/usr/sbin/installer", kWaitingInstaller);
    }

    void beginInstallation(User &user) {
        user.click(kForward);
        user.waitForVisible(kChoice);
        user.click(kForward);
        user.waitForVisible(kProgress);
    }
};

TEST_F(Screens, OfAnUpgrade) {
    installEarlierVersion();
    putWaitingInstaller();
    walk([this](User &user) {
        waitForTheCatalog(user);
        save(user, "1-start-earlier-version");
        user.click(kIcon);
        save(user, "2-terms-not-accepted");
        user.click(kBox);
        save(user, "3-terms-accepted");
        user.click(QStringLiteral("termsOfServiceButton"));
        user.waitForVisible(QStringLiteral("licenseView"));
        save(user, "4-terms");
        user.click(kForward);
        user.waitForVisible(kDrag);
        const QPoint from = user.centerOf(kIcon);
        const QPoint to = user.centerOf(kDestination);
        user.moveTo(from);
        user.press();
        for (int step = 1; step <= 20; ++step) {
            QThread::msleep(10);
            user.moveTo(from + (to - from) * step / 20);
        }
        save(user, "5-dragging");
        user.release();
        user.waitForVisible(kChoice);
        user.click(QStringLiteral("publicCheckBoxButton"));
        save(user, "6-public-or-private");
        user.click(kForward);
        user.waitForVisible(kProgress);
        save(user, "7-removing");
        user.waitFor([] { return bool(installationInProgress); }, "the installation");
        save(user, "8-installing");
        user.keyWithControl("q");
        user.waitForActive(QStringLiteral("quitAppWarningSheet"));
        save(user, "9-quit-refused");
        user.key("Return");
        user.waitForGone(QStringLiteral("quitAppWarningSheet"));
        root.write("/go", "");
        user.waitForVisible(kResult);
        save(user, "10-installed");
        user.keyWithControl("l");
        user.waitForVisible(QStringLiteral("logTextView"));
        save(user, "11-log");
        user.onMain([] { QApplication::exit(0); });
    });
}

TEST_F(Screens, OfAFailure) {
    putWaitingInstaller();
    root.write("/fail", "");
    root.write("/go", "");
    walk([this](User &user) {
        waitForTheCatalog(user);
        save(user, "12-start");
        acceptTerms(user);
        beginInstallation(user);
        user.waitForVisible(kResult);
        save(user, "13-failed");
        user.click(kClose);
    });
}

TEST_F(Screens, OfAMissingPackageAndTheOtherSheets) {
    std::filesystem::remove(package());
    walk([this](User &user) {
        user.waitForVisible(kDrag);
        save(user, "14-package-missing");
        user.onMain([this] { controller->displayWarningSheet(); });
        user.waitForVisible(QStringLiteral("warningSheetWindow"));
        save(user, "15-warning-sheet");
        user.onMain([this] { controller->warningSheetCancelPressed(nullptr); });
        user.onMain([this] { controller->displayAppsBusyWarningSheet(); });
        user.waitForVisible(QStringLiteral("appsBusyWarningSheetWindow"));
        save(user, "16-busy-sheet");
        user.onMain([this] { controller->appsBusyWarningSheetCancelPressed(nullptr); });
        user.onMain([] { QApplication::exit(0); });
    });
}

} // namespace
