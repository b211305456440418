#include "ControllerTest.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <atomic>
#include <thread>

namespace {

const QString kPreferences = QStringLiteral("/Library/Preferences/BrelundQuorlixAdmin.plist");

class Orchestration : public ControllerTest {
protected:
    Orchestration() {
        makeSelectedApp();
        putPackage();
        machine.helper = [this](const FakeMachine::Request &request, const auto &, const auto &) {
            if (!request.text(kyb::kInstallerLogPathKey).isNull()) {
                machine.write(kProgress, "installer: The install was successful.\nInstallation_Done\n");
            }
        };
        // The simulated progress has passes enough for any uninstall: the clock stands still until it is over.
        machine.onSleep = [](std::chrono::milliseconds) {
            while (uninstallationInProgress) {
                std::this_thread::yield();
            }
        };
        putProgram(QStringLiteral("/usr/libexec/PlistBuddy"));
    }

    QString chmodAsked() const {
        return QStringLiteral("sudo [chmod] [-R] [644] [%1]").arg(machine.path(kPreferences));
    }
};

TEST_F(Orchestration, ProbesTheHelperWithAListingBeforeItLooksForItsFile) {
    putHelper();
    EXPECT_NE(runApplication([this] { controller->proceedWithInstallation(); }), 1);
    EXPECT_EQ(machine.requests().at(0).text(kyb::kCommandKey),
              QStringLiteral("ls %1/Applications/").arg(machine.root()).toUtf8());
    EXPECT_TRUE(machine.requests().at(0).text(kyb::kInstallerLogPathKey).isNull());
}

TEST_F(Orchestration, AHelperThatIsThereIsNotRegisteredAgain) {
    putHelper();
    runApplication([this] { controller->proceedWithInstallation(); });
    EXPECT_TRUE(machine.journal().filter(QStringLiteral("install helper")).isEmpty());
}

TEST_F(Orchestration, AMissingHelperIsRegistered) {
    runApplication([this] { controller->proceedWithInstallation(); });
    EXPECT_EQ(machine.journal().filter(QStringLiteral("install helper")),
              QStringList{QStringLiteral("install helper com.kyb.InstallerHelperTool")});
    EXPECT_EQ(machine.requests().size(), 2U);
}

TEST_F(Orchestration, AFailedProbeLeadsToRegistrationAndIsThenForgiven) {
    putHelper();
    installFailed = true;
    runApplication([this] { controller->proceedWithInstallation(); });
    EXPECT_EQ(machine.journal().filter(QStringLiteral("install helper")).size(), 1);
    EXPECT_FALSE(installFailed);
}

TEST_F(Orchestration, ARefusedRegistrationIsLoggedAndNothingElseHappens) {
    connectScreens();
    machine.rightsStatus = -60005;
    controller->proceedWithInstallation();
    EXPECT_EQ(controller->internalLog(), QStringLiteral("Failed to create AuthorizationRef. Error code: -60005\n"
                                                        "Failed to install the Helper Tool. Error: (null)\n"));
    EXPECT_TRUE(screens.journal.isEmpty());
    EXPECT_FALSE(machine.journal().contains(QStringLiteral("keep awake")));
    EXPECT_TRUE(kyb::isIdle());
}

TEST_F(Orchestration, AfterARefusalInstallMayBePressedAgain) {
    machine.helperCanBeInstalled = false;
    controller->initiateInstallation();
    machine.helperCanBeInstalled = true;
    runApplication([this] { controller->initiateInstallation(); });
    EXPECT_FALSE(installFailed);
    EXPECT_TRUE(controller->internalLog().contains(QStringLiteral("Preparing for Installation!!!")));
}

TEST_F(Orchestration, ShowsTheProgressScreenAndTakesTheWaysOutInOrder) {
    connectScreens();
    putHelper();
    controller->selectedApp->isSelectedForInstall = false;
    isTermsAndConditionsAccepted = true;
    controller->proceedWithInstallation();
    const auto first = screens.journal.indexOf(QStringLiteral("installationBox add installationProgressView"));
    ASSERT_GE(first, 0);
    EXPECT_EQ(screens.journal.sliced(first, 5),
              (QStringList{
                  QStringLiteral("installationBox add installationProgressView"),
                  QStringLiteral("installationProgressView display"), QStringLiteral("termsOfServiceButton hidden yes"),
                  QStringLiteral("checkBoxButton enabled no"), QStringLiteral("parentWindow close widget no")}));
    EXPECT_FALSE(isTermsAndConditionsAccepted);
}

/// Whoever works in the background logs nothing until the main thread has told its story.
class Story : public Orchestration {
protected:
    Story() {
        connectScreens();
        putHelper();
        machine.onSystemLog = [this](const QString &) {
            while (!kyb::isMainThread() && isHeld_) {
                std::this_thread::yield();
            }
        };
    }

    /// The orders to the progress screen when it comes, which are a story of their own.
    static QStringList withoutTheScreenItself(QStringList story) {
        const auto first = story.indexOf(QStringLiteral("termsOfServiceButton transparent yes"));
        const auto last = story.indexOf(QStringLiteral("installationBox add installationProgressView"));
        story.remove(first, std::max<qsizetype>(0, last - first));
        return story;
    }

    void goOn() {
        isHeld_ = false;
        settle();
    }

private:
    std::atomic<bool> isHeld_{true};
};

TEST_F(Story, OfAnUpgradeOnTheMainThread) {
    controller->selectedApp->isInstalled = true;
    controller->selectedApp->isSelectedForInstall = false;
    isTermsAndConditionsAccepted = true;
    installFailed = true;
    controller->proceedWithInstallation();
    EXPECT_EQ(withoutTheScreenItself(storyOf(0)),
              (QStringList{
                  QStringLiteral("flag isTermsAndConditionsAccepted yes"),
                  QStringLiteral("flag installFailed yes"),
                  QStringLiteral("connect com.kyb.HelperTool.xpc"),
                  QStringLiteral("handler"),
                  QStringLiteral("resume"),
                  QStringLiteral("send"),
                  QStringLiteral("release"),
                  QStringLiteral("ask for rights"),
                  QStringLiteral("log Authorization successful"),
                  QStringLiteral("install helper com.kyb.InstallerHelperTool"),
                  QStringLiteral("flag installFailed no"),
                  QStringLiteral("keep awake"),
                  QStringLiteral("installationBox add installationProgressView"),
                  QStringLiteral("installationProgressView display"),
                  QStringLiteral("log Preparing for Installation!!!"),
                  QStringLiteral("termsOfServiceButton hidden yes"),
                  QStringLiteral("checkBoxButton enabled no"),
                  QStringLiteral("flag isTermsAndConditionsAccepted no"),
                  QStringLiteral("parentWindow close widget no"),
                  QStringLiteral("log Preparing for Uninstallation!!!"),
                  QStringLiteral("installProgressViewBoldLabel text \"Uninstalling\""),
                  QStringLiteral("progressInfoLabel text \"\""),
                  QStringLiteral("installProgressViewBoldLabel display"),
                  QStringLiteral("installProgressIndicator value 0"),
                  QStringLiteral("progressInfoLabel display"),
                  QStringLiteral("flag uninstallationInProgress yes"),
                  QStringLiteral("[1] starts"),
                  QStringLiteral("[2] starts"),
              }));
    goOn();
    EXPECT_TRUE(storyOf(1).contains(
        QStringLiteral("[1] log Uninstallation completed successfully: will start installation progressbar")));
    EXPECT_EQ(storyOf(2).constFirst(), QStringLiteral("[2] log Will delete existing Brelund Quorlix Driver."));
}

TEST_F(Story, OfTheInstallationsStart) {
    controller->startPackageInstallation();
    EXPECT_EQ(storyOf(0), (QStringList{
                              QStringLiteral("flag installationInProgress yes"),
                              QStringLiteral("installProgressViewBoldLabel text \"Installing\""),
                              QStringLiteral("installProgressViewBoldLabel display"),
                              QStringLiteral("installProgressIndicator value 0"),
                              QStringLiteral("progressInfoLabel hidden no"),
                              QStringLiteral("progressInfoLabel text \"PHASE_PrepareInstall\""),
                              QStringLiteral("parentWindow close widget no"),
                              QStringLiteral("[1] starts"),
                              QStringLiteral("[2] starts"),
                          }));
    goOn();
    EXPECT_TRUE(storyOf(1).constFirst().startsWith(u"[1] launch /bin/sh"));
    EXPECT_TRUE(storyOf(2).constFirst().startsWith(u"[2] log Installing "));
}

TEST_F(Story, OfTheUninstall) {
    uninstallationInProgress = true;
    controller->uninstallPreviousVersion();
    EXPECT_EQ(machine.story(), (QStringList{
                                   QStringLiteral("flag uninstallationInProgress yes"),
                                   QStringLiteral("log Will delete existing Brelund Quorlix Driver."),
                                   QStringLiteral("connect com.kyb.HelperTool.xpc"),
                                   QStringLiteral("handler"),
                                   QStringLiteral("resume"),
                                   QStringLiteral("send"),
                                   QStringLiteral("release"),
                                   QStringLiteral("log Older Brelund Quorlix Driver uninstalled successfully."),
                                   QStringLiteral("log Uninstallation finished."),
                                   QStringLiteral("flag uninstallationInProgress no"),
                               }));
}

TEST_F(Orchestration, WithoutAnEarlierVersionTheInstallationStartsAtOnce) {
    putHelper();
    controller->selectedApp->isSelectedForInstall = false;
    controller->proceedWithInstallation();
    EXPECT_TRUE(installationInProgress);
    EXPECT_FALSE(uninstallationInProgress);
    settle();
    EXPECT_FALSE(controller->internalLog().contains(QStringLiteral("Uninstall")));
}

TEST_F(Orchestration, AnEarlierVersionIsRemovedFirst) {
    isSilentInstall = true;
    putHelper();
    controller->selectedApp->isInstalled = true;
    putProgram(QStringLiteral("/Library/Printers/BrelundQuorlix/Uninstall.sh"));
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(runApplication([this] { controller->proceedWithInstallation(); }), 0);
    ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(asked(), (QStringList{QStringLiteral("Uninstall.sh []"), chmodAsked()}));
    const QStringList log = controller->internalLog().split(u'\n', Qt::SkipEmptyParts);
    EXPECT_EQ(log.indexOf(QStringLiteral("Preparing for Installation!!!")), 0);
    EXPECT_EQ(log.indexOf(QStringLiteral("Preparing for Uninstallation!!!")), 1);
    EXPECT_EQ(log.indexOf(QStringLiteral("Will delete existing Brelund Quorlix Driver.")), 2);
    const auto removed = log.indexOf(QStringLiteral("Older Brelund Quorlix Driver uninstalled successfully."));
    EXPECT_EQ(log.indexOf(QStringLiteral("Uninstallation finished.")), removed + 1);
    EXPECT_LT(removed, log.indexOf(QRegularExpression(QStringLiteral("^Installing .*"))));
}

TEST_F(Orchestration, ShowsTheUninstallOnTheProgressScreenInOrder) {
    connectScreens();
    putHelper();
    putTexts("\"Uninstalling\" = \"Removing the earlier version\";");
    controller->selectedApp->isInstalled = true;
    controller->selectedApp->isSelectedForInstall = false;
    controller->proceedWithInstallation();
    const auto first = screens.journal.indexOf(QStringLiteral("parentWindow close widget no")) + 1;
    EXPECT_EQ(screens.journal.sliced(first),
              (QStringList{
                  QStringLiteral("installProgressViewBoldLabel text \"Removing the earlier version\""),
                  QStringLiteral("progressInfoLabel text \"\""), QStringLiteral("installProgressViewBoldLabel display"),
                  QStringLiteral("installProgressIndicator value 0"), QStringLiteral("progressInfoLabel display")}));
    settle();
}

TEST_F(Orchestration, WithScreensTheUninstallScriptGoesToTheHelperAndIsNotWaitedFor) {
    uninstallationInProgress = true;
    controller->uninstallPreviousVersion();
    EXPECT_EQ(
        machine.requests().at(0).text(kyb::kCommandKey),
        QStringLiteral("/bin/sh \"%1/Library/Printers/BrelundQuorlix/Uninstall.sh\"").arg(machine.root()).toUtf8());
    EXPECT_FALSE(uninstallationInProgress);
}

TEST_F(Orchestration, AFailingUninstallScriptIsNotDetected) {
    isSilentInstall = true;
    controller->uninstallPreviousVersion(); // there is none
    EXPECT_TRUE(controller->internalLog().endsWith(
        QStringLiteral("Older Brelund Quorlix Driver uninstalled successfully.\nUninstallation finished.\n")));
    EXPECT_FALSE(installFailed);
}

TEST_F(Orchestration, StartsTheInstallationOnTheProgressScreenInOrder) {
    connectScreens();
    putTexts(
        "\"Installing\" = \"Installing %@\";\n\"displayName\" = \"Quorlix\";\n\"PHASE_PrepareInstall\" = \"Wait\";");
    controller->selectedApp->isSelectedForInstall = false;
    controller->startPackageInstallation();
    EXPECT_TRUE(installationInProgress);
    EXPECT_EQ(screens.journal, (QStringList{QStringLiteral("installProgressViewBoldLabel text \"Installing Quorlix\""),
                                            QStringLiteral("installProgressViewBoldLabel display"),
                                            QStringLiteral("installProgressIndicator value 0"),
                                            QStringLiteral("progressInfoLabel hidden no"),
                                            QStringLiteral("progressInfoLabel text \"Wait\""),
                                            QStringLiteral("parentWindow close widget no")}));
    settle();
    EXPECT_EQ(machine.journal().filter(QStringLiteral("launch")).size(), 1);
}

TEST_F(Orchestration, APackageThatIsNotSelectedIsNotInstalledYetTheEndFollows) {
    connectScreens();
    controller->selectedApp->isSelectedForInstall = false;
    kyb::inBackground([this] { controller->installSelectedPackages(); });
    settle();
    EXPECT_TRUE(machine.requests().empty());
    EXPECT_EQ(asked(), QStringList{chmodAsked()});
    EXPECT_EQ(screen("installProgressIndicator").values, std::vector<double>{100});
    EXPECT_EQ(screen("installationResultView").superview, &screen("installationBox"));
}

TEST_F(Orchestration, WritesThePrivateChoiceWithNestedQuotesThatTheShellJoins) {
    machine.write(kPreferences, "");
    controller->updateValueBasedOnPublicOrPrivateCheckBox();
    EXPECT_EQ(
        asked(),
        (QStringList{QStringLiteral("PlistBuddy [-c] [Set :IsPrivateInstall YES] [%1]").arg(machine.path(kPreferences)),
                     chmodAsked()}));
}

TEST_F(Orchestration, WritesThePublicChoice) {
    isPrivateComputerAccepted = false;
    machine.write(kPreferences, "");
    controller->updateValueBasedOnPublicOrPrivateCheckBox();
    EXPECT_EQ(asked().first(),
              QStringLiteral("PlistBuddy [-c] [Set :IsPrivateInstall NO] [%1]").arg(machine.path(kPreferences)));
}

TEST_F(Orchestration, MissingPreferencesAreNotMadeYetThePermissionCommandRuns) {
    controller->updateValueBasedOnPublicOrPrivateCheckBox();
    EXPECT_EQ(asked(), QStringList{chmodAsked()});
    EXPECT_FALSE(QFile::exists(machine.path(kPreferences)));
}

/// Who comes first in the path has the name for himself, so it is enough to look where the path of every room test
/// leads.
TEST_F(ControllerTest, NoRoomTestReachesTheHostsSudo) {
    QProcess shell;
    shell.start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("command -v sudo")});
    ASSERT_TRUE(shell.waitForFinished());
    EXPECT_EQ(QString::fromUtf8(shell.readAll()), machine.path(QStringLiteral("/bin/sudo\n")));
}

TEST_F(Orchestration, ASilentRunEndsWithZeroAfterASuccess) {
    isSilentInstall = true;
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(runApplication([this] { controller->proceedWithInstallation(); }), 0);
    ::testing::internal::GetCapturedStdout();
}

TEST_F(Orchestration, ASilentRunEndsWithOneAfterAFailure) {
    isSilentInstall = true;
    machine.helper = [this](const FakeMachine::Request &request, const auto &, const auto &) {
        if (!request.text(kyb::kInstallerLogPathKey).isNull()) {
            machine.write(kProgress, "installer: The install failed. (x)\nInstallation_Done\n");
        }
    };
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(runApplication([this] { controller->proceedWithInstallation(); }), 1);
    ::testing::internal::GetCapturedStdout();
}

/// A run that begins with a machine that may go to sleep.
class WakefulRun : public Orchestration, public testing::WithParamInterface<std::tuple<bool, bool, bool>> {
protected:
    WakefulRun() {
        const auto &[isSilent, isUpgrade, fails] = GetParam();
        isSilentInstall = isSilent;
        controller->selectedApp->isInstalled = isUpgrade;
        const QByteArray outcome = fails ? "The install failed. (x)" : "The install was successful.";
        machine.helper = [this, outcome](const FakeMachine::Request &request, const auto &, const auto &) {
            if (!request.text(kyb::kInstallerLogPathKey).isNull()) {
                machine.write(kProgress, "installer: " + outcome + "\nInstallation_Done\n");
            }
        };
    }

    /// What happened to the engine's flags and to the machine's sleep, in order.
    QStringList changes() const {
        QStringList changes;
        for (const QString &event : machine.story()) {
            static const QRegularExpression kChange(
                QStringLiteral("(keep awake|let sleep|flag (un)?installationInProgress .*)$"));
            if (const auto found = kChange.match(event); found.hasMatch()) {
                changes << found.captured(1);
            }
        }
        return changes;
    }
};

TEST_P(WakefulRun, KeepsTheMachineAwakeFromBeforeTheEnginesWorkUntilAfterIt) {
    ::testing::internal::CaptureStdout();
    runApplication([this] { controller->proceedWithInstallation(); });
    ::testing::internal::GetCapturedStdout();
    QStringList expected{QStringLiteral("keep awake")};
    if (controller->selectedApp->isInstalled) {
        expected << QStringLiteral("flag uninstallationInProgress yes")
                 << QStringLiteral("flag uninstallationInProgress no");
    }
    expected << QStringLiteral("flag installationInProgress yes") << QStringLiteral("flag installationInProgress no")
             << QStringLiteral("let sleep");
    EXPECT_EQ(changes(), expected);
}
std::string nameOf(const testing::TestParamInfo<WakefulRun::ParamType> &run) {
    const auto &[isSilent, isUpgrade, fails] = run.param;
    return std::string(isSilent ? "Silent" : "WithScreens") + (isUpgrade ? "Upgrade" : "First") +
           (fails ? "Failure" : "Success");
}
INSTANTIATE_TEST_SUITE_P(Runs, WakefulRun, testing::Combine(testing::Bool(), testing::Bool(), testing::Bool()), nameOf);

TEST_F(Orchestration, SilentModeShowsNoScreenYetDisablesTheCloseWidget) {
    isSilentInstall = true;
    isTermsAndConditionsAccepted = true;
    connectScreens();
    ::testing::internal::CaptureStdout();
    runApplication([this] { controller->proceedWithInstallation(); });
    ::testing::internal::GetCapturedStdout();
    EXPECT_FALSE(screens.journal.contains(QStringLiteral("installationBox add installationProgressView")));
    EXPECT_FALSE(screens.journal.contains(QStringLiteral("checkBoxButton enabled no")));
    EXPECT_TRUE(screens.journal.contains(QStringLiteral("parentWindow close widget no")));
    EXPECT_TRUE(isTermsAndConditionsAccepted);
}

TEST_F(Orchestration, AnInteractiveProcessEndsWithZero) {
    installFailed = true;
    EXPECT_EQ(runApplication([this] { controller->exitApplication(nullptr); }), 0);
}

} // namespace
