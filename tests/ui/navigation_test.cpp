#include "ControllerTest.h"

#include "text/rich_text.h"

#include <QDir>
#include <filesystem>
#include <sys/stat.h>

namespace {

const QString kLicense =
    QStringLiteral("/Installer Folder/Brelund Quorlix Installer.app/Contents/Resources/License.rtf");

class Navigation : public ControllerTest {
protected:
    void SetUp() override {
        connectScreens();
        putTexts("\"Next\" = \"Weiter\";\n\"Back\" = \"Zurueck\";\n\"Install\" = \"Installieren\";");
        screen("multipleActionsButton").currentText = QStringLiteral("Weiter");
        machine.rightsStatus = -60006; // "Install" ends after its second step
        makeSelectedApp();
    }

    bool isInBox(const char *view) { return screen(view).superview == &screen("installationBox"); }
    void pressForward() { screen("multipleActionsButton").press(); }
    void tickTerms(bool checked) {
        screen("checkBoxButton").checked = checked;
        screen("checkBoxButton").press();
    }
};

// What the forward button does.

TEST_F(Navigation, NextShowsThePublicOrPrivateScreen) {
    pressForward();
    EXPECT_TRUE(isInBox("publicOrPrivateView"));
}

TEST_F(Navigation, BackShowsTheDragScreen) {
    screen("multipleActionsButton").currentText = QStringLiteral("Zurueck");
    pressForward();
    EXPECT_TRUE(isInBox("installationView"));
}

TEST_F(Navigation, InstallStartsTheInstallation) {
    screen("multipleActionsButton").currentText = QStringLiteral("Installieren");
    pressForward();
    EXPECT_EQ(machine.requests().size(), 1U);
}

TEST_F(Navigation, AnyOtherTitleQuits) {
    for (const char *title : {"Next", "weiter", "Weiter ", ""}) {
        screen("multipleActionsButton").currentText = QString::fromLatin1(title);
        EXPECT_EQ(runApplication([this] { pressForward(); }), 0) << title;
    }
}

TEST_F(Navigation, OfTwoKeysWithTheSameTextTheEarlierWins) {
    putTexts("\"Next\" = \"Go\";\n\"Back\" = \"Go\";\n\"Install\" = \"Go\";");
    screen("multipleActionsButton").currentText = QStringLiteral("Go");
    pressForward();
    EXPECT_TRUE(isInBox("publicOrPrivateView"));
    EXPECT_FALSE(isInBox("installationView"));
}

// The screens, each step in its order.

TEST_F(Navigation, TheTermsScreenComesOverTheHiddenDragScreen) {
    machine.write(kLicense, "{\\rtf1 Terms}");
    screen("termsOfServiceButton").press();
    EXPECT_EQ(screens.journal,
              (QStringList{
                  QStringLiteral("termsOfServiceButton hidden yes"), QStringLiteral("installationView hidden yes"),
                  QStringLiteral("installationBox add licenseView"), QStringLiteral("licenseTextView text \"\""),
                  QStringLiteral("cancelButton hidden yes"), QStringLiteral("multipleActionsButton text \"Zurueck\""),
                  QStringLiteral("multipleActionsButton enabled yes"), QStringLiteral("licenseTextView rich text")}));
    EXPECT_EQ(screen("licenseTextView").currentText.trimmed(), QStringLiteral("Terms"));
}

TEST_F(Navigation, TermsThatAreNotAllShownAreToldToTheSystemLog) {
    const std::pair<QByteArray, QString> rows[] = {
        {"{\\rtf1 Terms}", QString()},
        {"\xEF\xBB\xBF{\\rtf1 Terms}", QString()},
        {"Terms", QStringLiteral(": no RTF, or without text; no terms are shown")},
        {"{\\rtf1 {\\v Terms}}", QStringLiteral(": no RTF, or without text; no terms are shown")},
        {"{\\rtf1 " + QByteArray(kyb::kMaxRichTextUnits, 'a') + "b}",
         QStringLiteral(": too long; the terms are shown in part, up to \"[\u2026]\"")},
        {"{\\rtf1 a{\\pict " + QByteArray(kyb::kMaxRichTextBytes, 'a') + "}b}",
         QStringLiteral(": too long; the terms are shown in part, up to \"[\u2026]\"")},
    };
    for (const auto &[terms, told] : rows) {
        machine.write(kLicense, terms);
        const auto before = machine.systemLog().size();
        screen("termsOfServiceButton").press();
        const QStringList lines = machine.systemLog().mid(before);
        EXPECT_EQ(lines.size(), told.isEmpty() ? 0 : 1) << terms.left(16).toStdString();
        EXPECT_TRUE(told.isEmpty() || (lines.value(0).endsWith(QStringLiteral("License.rtf") + told)))
            << lines.value(0).toStdString();
    }
}

TEST_F(Navigation, OfTermsOfAnySizeNoMoreIsReadThanTheLimit) {
    machine.write(kLicense, "{\\rtf1 Terms");
    std::filesystem::resize_file(machine.path(kLicense).toStdString(), std::uintmax_t{1} << 40); // no machine's memory
    screen("termsOfServiceButton").press();
    EXPECT_TRUE(screen("licenseTextView").currentText.startsWith(QStringLiteral("Terms")));
    EXPECT_EQ(machine.systemLog().size(), 1);
}

TEST_F(Navigation, AMissingTermsFileIsSaidOnTheScreen) {
    screen("termsOfServiceButton").press();
    EXPECT_EQ(screen("licenseTextView").currentText, QStringLiteral("License file missing!"));
    pressForward();
    EXPECT_TRUE(isInBox("installationView"));
}

TEST_F(Navigation, AFifoInPlaceOfTheTermsHoldsNobodyUp) {
    const QString folder =
        machine.path(QStringLiteral("/Installer Folder/Brelund Quorlix Installer.app/Contents/Resources/en.lproj"));
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString path = folder + QStringLiteral("/License.rtf");
    ASSERT_EQ(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    screen("termsOfServiceButton").press();
    EXPECT_EQ(screen("licenseTextView").currentText, QStringLiteral("License file missing!"));
}

TEST_F(Navigation, TheWayBackTakesBothScreensAwayAndShowsTheDragScreen) {
    screen("checkBoxButton").checked = true;
    controller->displayInstallationViewFromLicenseView();
    EXPECT_EQ(
        screens.journal,
        (QStringList{QStringLiteral("licenseView remove"), QStringLiteral("publicOrPrivateView remove"),
                     QStringLiteral("installationBox add installationView"),
                     QStringLiteral("installationView hidden no"), QStringLiteral("termsOfServiceButton hidden no"),
                     QStringLiteral("multipleActionsButton text \"Weiter\""), QStringLiteral("cancelButton hidden no"),
                     QStringLiteral("backButton enabled no"), QStringLiteral("backButton transparent yes")}));
}

TEST_F(Navigation, BackFromTheTermsWithTheBoxOffDisablesNext) {
    screen("termsOfServiceButton").press();
    pressForward();
    EXPECT_FALSE(screen("multipleActionsButton").enabled);
    EXPECT_EQ(screen("multipleActionsButton").currentText, QStringLiteral("Weiter"));
}

TEST_F(Navigation, BackFromTheTermsWithTheBoxOnLeavesNextEnabled) {
    tickTerms(true);
    screen("termsOfServiceButton").press();
    pressForward();
    EXPECT_TRUE(screen("multipleActionsButton").enabled);
    EXPECT_EQ(screen("multipleActionsButton").currentText, QStringLiteral("Weiter"));
}

TEST_F(Navigation, BackWithTheBoxOnDoesNotEnableAButtonThatWasDisabled) {
    screen("checkBoxButton").checked = true;
    screen("multipleActionsButton").enabled = false;
    controller->displayInstallationViewFromLicenseView();
    EXPECT_FALSE(screen("multipleActionsButton").enabled);
}

TEST_F(Navigation, ThePublicOrPrivateScreenComesOverTheHiddenDragScreen) {
    controller->displayPublicOrPrivateView();
    EXPECT_EQ(
        screens.journal,
        (QStringList{QStringLiteral("termsOfServiceButton hidden yes"), QStringLiteral("installationView hidden yes"),
                     QStringLiteral("installationBox add publicOrPrivateView"),
                     QStringLiteral("licenseTextView text \"\""), QStringLiteral("cancelButton hidden yes"),
                     QStringLiteral("multipleActionsButton text \"Installieren\""),
                     QStringLiteral("multipleActionsButton enabled yes"), QStringLiteral("backButton enabled yes"),
                     QStringLiteral("backButton transparent no")}));
}

TEST_F(Navigation, TheBackButtonLeavesThePublicOrPrivateScreenWithTheBoxStillOn) {
    tickTerms(true);
    controller->displayPublicOrPrivateView();
    screen("backButton").press();
    EXPECT_TRUE(isInBox("installationView"));
    EXPECT_FALSE(isInBox("publicOrPrivateView"));
    EXPECT_TRUE(screen("checkBoxButton").checked);
    EXPECT_TRUE(screen("multipleActionsButton").enabled);
}

TEST_F(Navigation, TheProgressScreenPutsEveryButtonAway) {
    putTexts("\"applicationImage\" = \"Package.png\";");
    controller->displayInstallationInProgressView();
    EXPECT_EQ(screens.journal,
              (QStringList{
                  QStringLiteral("termsOfServiceButton transparent yes"),
                  QStringLiteral("termsOfServiceButton display"), QStringLiteral("termsOfServiceButton enabled no"),
                  QStringLiteral("installationInProgressImageView image Package.png"),
                  QStringLiteral("cancelButton transparent yes"), QStringLiteral("cancelButton enabled no"),
                  QStringLiteral("multipleActionsButton transparent yes"),
                  QStringLiteral("multipleActionsButton enabled no"), QStringLiteral("cancelButton display if needed"),
                  QStringLiteral("multipleActionsButton display if needed"), QStringLiteral("installationView remove"),
                  QStringLiteral("publicOrPrivateView remove"), QStringLiteral("backButton transparent yes"),
                  QStringLiteral("backButton enabled no"), QStringLiteral("progressInfoLabel text \"\""),
                  QStringLiteral("installationBox add installationProgressView")}));
}

TEST_F(Navigation, ARefusedHelperLeavesThePublicOrPrivateScreenWithInstallEnabled) {
    controller->displayPublicOrPrivateView();
    pressForward();
    EXPECT_TRUE(isInBox("publicOrPrivateView"));
    EXPECT_TRUE(screen("multipleActionsButton").enabled);
    EXPECT_EQ(screen("multipleActionsButton").currentText, QStringLiteral("Installieren"));
}

TEST_F(Navigation, TheResultScreenShowsASuccess) {
    controller->displayInstallFinishedView();
    EXPECT_EQ(storyOf(0),
              (QStringList{QStringLiteral("[1] starts"), // the collection of the logs
                           QStringLiteral("installationProgressView remove"),
                           QStringLiteral("installationBox add installationResultView"),
                           QStringLiteral("closeButton enabled yes"), QStringLiteral("closeButton transparent no"),
                           QStringLiteral("log Installation successful..."),
                           QStringLiteral("installationResultLabel text \"InstallSuccessful\""),
                           QStringLiteral("installationSubResultLabel text \"InstallSuccessfulSubResult\""),
                           QStringLiteral("installationResultImageView image Success.png"),
                           QStringLiteral("parentWindow close widget yes")}));
    EXPECT_EQ(screen("installationResultImageView").image.size, screen("installationResultImageView").frame);
    EXPECT_EQ(controller->internalLog(), QStringLiteral("Installation successful...\n"));
}

TEST_F(Navigation, TheResultScreenShowsAFailure) {
    installFailed = true;
    controller->displayInstallFinishedView();
    EXPECT_EQ(screen("installationResultLabel").currentText, QStringLiteral("InstallFailed"));
    EXPECT_EQ(screen("installationSubResultLabel").currentText, QStringLiteral("InstallFailedSubResult"));
    EXPECT_EQ(screen("installationResultImageView").image,
              (kyb::NamedImage{QStringLiteral("Alert.png"), screen("installationResultImageView").frame}));
    EXPECT_TRUE(screen("parentWindow").closeButtonEnabled);
    EXPECT_EQ(controller->internalLog(), QStringLiteral("Installation failed...\n"));
}

TEST_F(Navigation, TheResultScreenCollectsTheLogs) {
    controller->displayInstallFinishedView();
    settle();
    EXPECT_FALSE(controller->logFileData.isNull());
    EXPECT_FALSE(screen("showLogMenuItem").hidden);
}

TEST_F(Navigation, ASilentRunEndsWithoutTheResultScreen) {
    isSilentInstall = true;
    EXPECT_EQ(runApplication([this] { controller->displayInstallFinishedView(); }), 0);
    EXPECT_TRUE(screens.journal.isEmpty());
    EXPECT_EQ(controller->internalLog(), QString());
}

TEST_F(Navigation, CloseEndsTheApplication) {
    EXPECT_EQ(runApplication([this] { screen("closeButton").press(); }), 0);
}

// The terms.

TEST_F(Navigation, AcceptingTheTermsEnablesNextAndTakesTheBorderAway) {
    controller->showBorderOnTermsAndConditionsView();
    tickTerms(true);
    EXPECT_TRUE(isTermsAndConditionsAccepted);
    EXPECT_TRUE(screen("multipleActionsButton").enabled);
    EXPECT_EQ(screen("termsAndConditionsViewBox").borderColor, kyb::Color::Clear);
}

TEST_F(Navigation, RefusingThemDisablesNextAtOnceAndLeavesTheBorder) {
    tickTerms(true);
    controller->showBorderOnTermsAndConditionsView();
    tickTerms(false);
    EXPECT_FALSE(isTermsAndConditionsAccepted);
    EXPECT_FALSE(screen("multipleActionsButton").enabled);
    EXPECT_EQ(screen("termsAndConditionsViewBox").borderColor, kyb::Color::Red);
}

TEST_F(Navigation, TheBorderIsRedOnlyWhileTheBoxCanBeTicked) {
    screen("checkBoxButton").enabled = false;
    controller->showBorderOnTermsAndConditionsView();
    EXPECT_EQ(screen("termsAndConditionsViewBox").borderColor, kyb::Color::Standard);
    screen("checkBoxButton").enabled = true;
    controller->showBorderOnTermsAndConditionsView();
    EXPECT_EQ(screen("termsAndConditionsViewBox").borderColor, kyb::Color::Red);
}

// Public or private.

TEST_F(Navigation, PublicTakesPrivateOffAndSecondClickLeavesBothOffAndTheChoiceStanding) {
    screen("privateCheckBoxButton").checked = true;
    screen("publicCheckBoxButton").checked = true;
    screen("publicCheckBoxButton").press();
    EXPECT_FALSE(screen("privateCheckBoxButton").checked);
    EXPECT_FALSE(isPrivateComputerAccepted);
    screen("publicCheckBoxButton").checked = false;
    screen("publicCheckBoxButton").press();
    EXPECT_FALSE(screen("privateCheckBoxButton").checked);
    EXPECT_FALSE(isPrivateComputerAccepted);
}

TEST_F(Navigation, PrivateTakesPublicOff) {
    isPrivateComputerAccepted = false;
    screen("publicCheckBoxButton").checked = true;
    screen("privateCheckBoxButton").checked = true;
    screen("privateCheckBoxButton").press();
    EXPECT_FALSE(screen("publicCheckBoxButton").checked);
    EXPECT_TRUE(isPrivateComputerAccepted);
    screen("privateCheckBoxButton").checked = false;
    screen("privateCheckBoxButton").press();
    EXPECT_TRUE(isPrivateComputerAccepted);
}

} // namespace
