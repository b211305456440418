#include "Walk.h"

#include "base/KYGlobalConstants.h"
#include "controller/KYViewController.h"
#include "platform/drag.h"
#include "text/localized_text.h"
#include "ui/views/KYDestinationView.h"

#include <QApplication>
#include <QLineEdit>
#include <QProgressBar>
#include <QWindow>
#include <algorithm>
#include <gmock/gmock.h>

namespace {

const std::string kDriver = "/Library/Printers/BrelundQuorlix";

/// An installer that works in steps of its own pace until the file "go" is below the root.
const std::string kWaitingInstaller = "#!/bin/sh\n"
                                      "root=${0%/usr/sbin/installer}\n"
                                      "echo 'installer:PHASE:Writing files'\n"
                                      "echo 'installer:%1.000000'\n"
                                      "while [ ! -e \"$root/go\" ]; do sleep 0.02; done\n"
                                      "echo 'installer: The install was successful.'\n";

std::string environment(const char *name) {
    return name + ("=" + qgetenv(name)).toStdString();
}

TEST_F(Walk, InstallsByDraggingTheIconOntoTheDestination) {
    const int status = walk([&](User &user) {
        acceptTerms(user);
        user.drag(kIcon, user.centerOf(kDestination));
        user.waitForVisible(kChoice);
        EXPECT_EQ(user.text(kForward), textOf("Install"));
        user.click(QStringLiteral("publicCheckBoxButton"));
        user.waitFor([] { return !isPrivateComputerAccepted; }, "the public choice");
        user.click(kForward);
        user.waitForVisible(kResult);
        EXPECT_EQ(user.text(QStringLiteral("installationResultLabel")), textOf("InstallSuccessful"));
        user.click(kClose);
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(root.installedVersion(), "4.2.0");
    EXPECT_EQ(root.preference(), "NO");
}

TEST_F(Walk, InstallsWithTheKeyboardAlone) {
    const int status = walk([](User &user) {
        waitForTheCatalog(user);
        user.tabTo(kBox);
        user.key("space");
        user.waitFor([] { return bool(isTermsAndConditionsAccepted); }, "the terms to be accepted");
        user.key("Return");
        user.waitForVisible(kChoice);
        user.tabTo(QStringLiteral("publicCheckBoxButton"));
        user.key("space");
        user.waitFor([] { return !isPrivateComputerAccepted; }, "the public choice");
        user.key("Return");
        user.waitForVisible(kResult);
        user.key("Return");
    });
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(root.exists(kDriver));
    EXPECT_EQ(root.preference(), "NO");
}

TEST_F(Walk, InstallsThroughAssistiveTechnologyAlone) {
    qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"); // as a desktop does that runs a screen reader
    const int status = walk([](User &) {
        kyb::test::Program program({"/usr/bin/python3", KYB_ASSISTED_WALK}, {environment("DBUS_SESSION_BUS_ADDRESS")});
        const kyb::test::Ran assisted = kyb::test::finish(program);
        EXPECT_EQ(assisted.status, 0) << assisted.errors;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(root.installedVersion(), "4.2.0");
    EXPECT_EQ(root.preference(), "NO");
}

TEST_F(Walk, TheKeyboardDragsTheIconToo) {
    walk([](User &user) {
        acceptTerms(user);
        user.tabTo(kIcon);
        user.key("space");
        user.waitForVisible(kChoice);
        user.keyWithControl("q");
    });
    EXPECT_FALSE(root.exists(kDriver));
}

TEST_F(Walk, AnIconThatIsPressedBeforeTheTermsAreAcceptedDrawsTheRedBorder) {
    walk([this](User &user) {
        waitForTheCatalog(user);
        user.click(kIcon);
        user.waitFor([this] { return controller->termsAndConditionsViewBox.isConnected(); }, "the box");
        QImage picture;
        const QRect frame = user.frameOf(QStringLiteral("termsAndConditionsViewBox"));
        user.waitFor(
            [&] {
                for (QWidget *widget : QApplication::allWidgets()) {
                    if (widget->objectName() == QStringLiteral("termsAndConditionsViewBox")) {
                        picture = widget->grab().toImage();
                    }
                }
                return picture.pixelColor(picture.width() / 2, 1) == QColor(Qt::red);
            },
            "the red border");
        EXPECT_TRUE(user.isVisible(kDrag));
        user.click(kBox);
        user.waitFor(
            [&] {
                for (QWidget *widget : QApplication::allWidgets()) {
                    if (widget->objectName() == QStringLiteral("termsAndConditionsViewBox")) {
                        picture = widget->grab().toImage();
                    }
                }
                return picture.pixelColor(picture.width() / 2, 1) != QColor(Qt::red);
            },
            "the border to go");
        EXPECT_FALSE(frame.isEmpty());
        user.keyWithControl("q");
    });
}

TEST_F(Walk, TheTermsAreReadAndLeadBack) {
    walk([](User &user) {
        acceptTerms(user);
        user.click(QStringLiteral("termsOfServiceButton"));
        user.waitForVisible(QStringLiteral("licenseView"));
        EXPECT_EQ(user.text(kForward), textOf("Back"));
        EXPECT_FALSE(user.isVisible(kDrag));
        user.click(kForward);
        user.waitForVisible(kDrag);
        EXPECT_EQ(user.text(kForward), textOf("Next"));
        EXPECT_TRUE(user.isEnabled(kForward));
        user.click(QStringLiteral("cancelButton"));
    });
}

/// Of each drag that nobody takes; where the system carries drags it slides them back itself.
const int kGlides = kyb::systemCarriesDrags() ? 0 : 1;

/// Counts the pictures that glide back. Made on the main thread.
class GlideCounter : public QObject {
public:
    bool eventFilter(QObject *watched, QEvent *event) override {
        glides_ += event->type() == QEvent::Show && watched->objectName() == u"slideBack" ? 1 : 0;
        return QObject::eventFilter(watched, event);
    }

    void start(User &user) {
        user.onMain([this] { qApp->installEventFilter(this); });
    }
    int glides(User &user) const {
        int result = 0;
        user.onMain([&] { result = glides_; });
        return result;
    }

private:
    int glides_ = 0;
};

TEST_F(Walk, AnIconDroppedElsewhereGlidesBackAndChangesNothing) {
    GlideCounter counter;
    walk([&counter](User &user) {
        acceptTerms(user);
        counter.start(user);
        user.drag(kIcon, user.centerOf(QStringLiteral("titleDragandDropMessage")));
        EXPECT_TRUE(user.isVisible(kDrag));
        EXPECT_FALSE(user.isVisible(kChoice));
        EXPECT_EQ(counter.glides(user), kGlides);
        user.drag(kIcon, QPoint(5, 5)); // outside the window
        EXPECT_TRUE(user.isVisible(kDrag));
        EXPECT_EQ(counter.glides(user), 2 * kGlides);
        user.drag(kIcon, user.centerOf(kDestination));
        user.waitForVisible(kChoice);
        EXPECT_EQ(counter.glides(user), 2 * kGlides);
        user.keyWithControl("q");
    });
}

TEST_F(Walk, EscapeCancelsADragOverTheDestination) {
    GlideCounter counter;
    walk([&counter](User &user) {
        const auto isHighlighted = [] {
            const auto widgets = QApplication::allWidgets();
            return std::ranges::any_of(widgets, [](const QWidget *widget) {
                const auto *destination = qobject_cast<const KYDestinationView *>(widget);
                return destination != nullptr && destination->highlight();
            });
        };
        acceptTerms(user);
        counter.start(user);
        user.pull(kIcon, user.centerOf(kDestination));
        user.waitFor(isHighlighted, "the destination to take the icon");
        user.key("Escape");
        user.waitFor([&] { return !isHighlighted(); }, "the drag to leave the destination");
        user.release();
        user.waitForTheDragsEnd(kIcon);
        EXPECT_EQ(counter.glides(user), kGlides);
        EXPECT_TRUE(user.isVisible(kDrag));
        EXPECT_FALSE(user.isVisible(kChoice));
        user.keyWithControl("q");
    });
}

TEST_F(Walk, AnotherProgramIsOfferedNothing) {
    std::vector<std::string> environment;
    for (const char *name : {"DISPLAY", "HOME", "XDG_RUNTIME_DIR"}) {
        environment.push_back(std::string(name) + '=' + qgetenv(name).toStdString());
    }
    kyb::test::Program other({KYB_DROP_ACCEPTOR, "40", "60", "200"}, environment);
    ASSERT_TRUE(other.readUntil("shown"));
    GlideCounter counter;
    walk([&](User &user) {
        acceptTerms(user);
        counter.start(user);
        user.pull(kIcon, QPoint(140, 160));
        EXPECT_TRUE(other.readUntil("entered"));
        EXPECT_TRUE(other.readUntil("moved"));
        user.moveTo(QPoint(150, 170)); // which the other program hears of when its answer has come
        EXPECT_TRUE(other.readUntil("moved"));
        user.release();
        user.waitForTheDragsEnd(kIcon);
        EXPECT_TRUE(other.readUntil(kyb::systemCarriesDrags() ? "dropped" : "left")); // what is dropped is empty
        EXPECT_EQ(counter.glides(user), kGlides);
        EXPECT_TRUE(user.isVisible(kDrag));
        user.keyWithControl("q");
    });
}

TEST_F(Walk, BackFromTheChoiceLeadsToTheDragScreen) {
    walk([](User &user) {
        acceptTerms(user);
        user.click(kForward);
        user.waitForVisible(kChoice);
        user.click(QStringLiteral("backButton"));
        user.waitForVisible(kDrag);
        EXPECT_TRUE(user.isEnabled(kForward));
        user.key("Escape");
    });
}

TEST_F(Walk, TheChoicesExcludeEachOther) {
    walk([](User &user) {
        acceptTerms(user);
        user.click(kForward);
        user.click(QStringLiteral("publicCheckBoxButton"));
        user.waitFor([] { return !isPrivateComputerAccepted; }, "public");
        user.click(QStringLiteral("privateCheckBoxButton"));
        user.waitFor([] { return bool(isPrivateComputerAccepted); }, "private");
        user.keyWithControl("q");
    });
}

TEST_F(Walk, InAnotherLanguageTheButtonsLeadOnAsWell) {
    qputenv("LANGUAGE", "de");
    walk([](User &user) {
        EXPECT_EQ(user.text(kForward), QStringLiteral("Weiter"));
        acceptTerms(user);
        user.click(kForward);
        user.waitForVisible(kChoice);
        EXPECT_EQ(user.text(kForward), QStringLiteral("Installieren"));
        user.click(kForward);
        user.waitForVisible(kResult);
        EXPECT_EQ(user.text(QStringLiteral("installationResultLabel")), textOf("InstallSuccessful"));
        user.click(QStringLiteral("showLogButton"));
        user.waitForActive(QStringLiteral("logWindow"));
        user.keyWithControl("s");
        user.waitFor(
            [] {
                const QWidget *panel = QApplication::activeModalWidget();
                return panel != nullptr && QApplication::activeWindow() == panel;
            },
            "the save panel");
        EXPECT_EQ(user.text(QStringLiteral("fileNameLabel")), QStringLiteral("Datei&name:"));
        user.key("Escape");
        user.waitForActive(QStringLiteral("logWindow"));
        user.keyWithControl("q");
    });
    EXPECT_TRUE(root.exists(kDriver));
}

TEST_F(Walk, QuitIsRefusedWhileTheEngineWorks) {
    root.putProgram("/usr/sbin/installer", kWaitingInstaller);
    const int status = walk([this](User &user) {
        acceptTerms(user);
        user.click(kForward);
        user.waitForVisible(kChoice);
        user.click(kForward);
        user.waitForVisible(kProgress);
        user.keyWithControl("q");
        user.waitForActive(QStringLiteral("quitAppWarningSheet"));
        user.key("Return");
        user.waitForGone(QStringLiteral("quitAppWarningSheet"));
        EXPECT_TRUE(installationInProgress);
        EXPECT_TRUE(user.isVisible(kProgress));
        user.onMain(
            [] { EXPECT_FALSE(QApplication::activeWindow() != nullptr && QApplication::activeWindow()->close()); });
        EXPECT_TRUE(user.isVisible(kProgress));
        root.write("/go", "");
        user.waitForVisible(kResult);
        user.keyWithControl("q");
    });
    EXPECT_EQ(status, 0);
}

TEST_F(Walk, ProgressNeverGoesBackwardsWithinTheInstallation) {
    kyb::test::makePackage(package(), {"--version", "4.2.0", "--size", "60000000"});
    walk([](User &user) {
        acceptTerms(user);
        user.click(kForward);
        user.click(kForward);
        user.waitForVisible(kProgress);
        int last = 0;
        bool finished = false;
        while (!finished) {
            user.onMain([&] {
                for (QWidget *widget : QApplication::allWidgets()) {
                    if (auto *bar = qobject_cast<QProgressBar *>(widget);
                        bar != nullptr && bar->objectName() == QStringLiteral("installProgressIndicator")) {
                        EXPECT_GE(bar->value(), last);
                        last = bar->value();
                    }
                }
            });
            finished = user.isVisible(kResult);
        }
        EXPECT_GT(last, 0);
        user.click(kClose);
    });
}

TEST_F(Walk, AnUpgradeWarnsAndRemovesTheEarlierVersionFirst) {
    installEarlierVersion();
    root.write(kDriver + "/left by the earlier version", "x");
    walk([](User &user) {
        waitForTheCatalog(user);
        user.waitForText(QStringLiteral("warningField"), QStringLiteral("3.9.1"));
        EXPECT_TRUE(user.isVisible(QStringLiteral("warningField")));
        EXPECT_TRUE(user.isVisible(QStringLiteral("warningImageView")));
        user.click(kBox);
        user.click(kForward);
        user.click(kForward);
        user.waitForVisible(kResult);
        EXPECT_EQ(user.text(QStringLiteral("installationResultLabel")), textOf("InstallSuccessful"));
        user.click(kClose);
    });
    EXPECT_FALSE(root.exists(kDriver + "/left by the earlier version"));
    EXPECT_EQ(root.installedVersion(), "4.2.0");
    EXPECT_THAT(root.logEntries(), testing::Contains("Older Brelund Quorlix Driver uninstalled successfully."));
}

TEST_F(Walk, AFailureIsShownWithItsTexts) {
    kyb::test::makePackage(package(), {"--version", "4.2.0", "--fail", "postinstall"});
    walk([](User &user) {
        acceptTerms(user);
        user.click(kForward);
        user.click(kForward);
        user.waitForVisible(kResult);
        EXPECT_EQ(user.text(QStringLiteral("installationResultLabel")), textOf("InstallFailed"));
        EXPECT_EQ(user.text(QStringLiteral("installationSubResultLabel")), textOf("InstallFailedSubResult"));
        user.click(kClose);
    });
    EXPECT_FALSE(root.exists(kDriver));
    EXPECT_THAT(root.logEntries(), testing::Contains("Installation failed..."));
}

TEST_F(Walk, TheLogIsShownFilteredAndSaved) {
    const std::string saved = root.beside("saved.txt");
    root.putProgram("/usr/sbin/installer", std::string(kyb::test::kInstallerThatIsHeard) +
                                               "say 'the installer speaks'\n"
                                               "echo 'installer: The install was successful.'\n");
    walk([&](User &user) {
        acceptTerms(user);
        user.click(kForward);
        user.click(kForward);
        user.waitForVisible(kResult);
        user.waitFor(
            [this] { return controller->logTextView->text().startsWith(QStringLiteral("Wrapper Application Logs:")); },
            "the log");
        user.keyWithControl("l");
        user.waitForVisible(QStringLiteral("logTextView"));
        user.waitForActive(QStringLiteral("logWindow"));
        user.keyWithControl("f");
        user.type(QStringLiteral("installer"));
        user.waitFor(
            [this] {
                const QString shown = controller->logTextView->text();
                return shown.startsWith(QLatin1Char('\n')) && shown.contains(QStringLiteral("installer")) &&
                       !shown.contains(QStringLiteral("Wrapper Application Logs:"));
            },
            "the filtered log");
        user.keyWithControl("s");
        user.waitFor(
            [] {
                return QApplication::activeModalWidget() != nullptr &&
                       QApplication::activeWindow() == QApplication::activeModalWidget() &&
                       qobject_cast<QLineEdit *>(QApplication::focusWidget()) != nullptr;
            },
            "the save panel's name field");
        user.keyWithControl("a");
        user.type(QString::fromStdString(saved));
        user.key("Return");
        user.waitFor([&] { return std::filesystem::exists(saved) && QApplication::activeModalWidget() == nullptr; },
                     "the saved log");
        user.waitForActive(QStringLiteral("logWindow"));
        user.keyWithControl("q");
    });
    EXPECT_EQ(kyb::test::contentOf(saved), controller->logFileData.toStdString());
    EXPECT_THAT(kyb::test::contentOf(saved), testing::HasSubstr("Installer Logs:\nthe installer speaks\n"));
}

TEST_F(Walk, AMissingPackageIsSaidAndNothingCanBeDone) {
    std::filesystem::remove(package());
    walk([](User &user) {
        user.waitForText(QStringLiteral("packageNameLabel"), textOf("MissingPackage"));
        EXPECT_FALSE(user.isEnabled(kBox));
        EXPECT_FALSE(user.isEnabled(kForward));
        user.drag(kIcon, user.centerOf(kDestination));
        EXPECT_TRUE(user.isVisible(kDrag));
        user.click(QStringLiteral("cancelButton"));
    });
}

TEST_F(Walk, TheCloseWidgetEndsTheProgramWhileTheEngineIsIdle) {
    const int status = walk([](User &user) {
        waitForTheCatalog(user);
        user.onMain([] { QApplication::activeWindow()->close(); });
    });
    EXPECT_EQ(status, 0);
}

} // namespace
