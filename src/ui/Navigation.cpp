#include "controller/KYViewController.h"

#include "base/KYGlobalConstants.h"
#include "base/threads.h"
#include "platform/system_log.h"
#include "posix/file_io.h"
#include "text/localized_text.h"
#include "text/resources.h"
#include "text/rich_text.h"

#include <QFile>

using kyb::localizedText;

namespace {

/// Not drawn and out of reach: how a navigation button is put away without the others moving.
void putAway(kyb::Button &button) {
    button.setTransparent(true);
    button.setEnabled(false);
}

void tellWhatIsMissing(const QString &path, const kyb::RichTextDocument &terms) {
    if (terms.isCut) {
        kyb::systemLog(path + QStringLiteral(": too long; the terms are shown in part, up to \"[\u2026]\""));
    } else if (terms.paragraphs.isEmpty()) {
        kyb::systemLog(path + QStringLiteral(": no RTF, or without text; no terms are shown"));
    }
}

} // namespace

void KYViewController::nextOrBackOrFinishButtonAction(Sender sender) {
    const QString title = multipleActionsButton->text();
    if (title == localizedText(QStringLiteral("Next"))) {
        displayPublicOrPrivateView();
    } else if (title == localizedText(QStringLiteral("Back"))) {
        displayInstallationViewFromLicenseView();
    } else if (title == localizedText(QStringLiteral("Install"))) {
        initiateInstallation();
    } else {
        exitApplication(sender); // NB: any other title quits
    }
}

void KYViewController::backButtonActionInPublicPrivateView(Sender) {
    displayInstallationViewFromLicenseView();
}

void KYViewController::displayLicenseView(Sender) {
    termsOfServiceButton->setHidden(true);
    installationView->setHidden(true);
    installationBox->addSubview(*licenseView);
    licenseTextView->setText(QString());
    cancelButton->setHidden(true);
    multipleActionsButton->setText(localizedText(QStringLiteral("Back")));
    multipleActionsButton->setEnabled(true);
    showLicenseText();
}

void KYViewController::showLicenseText() {
    const QString path = kyb::resourcePath(QStringLiteral("License.rtf"));
    const kyb::UniqueFd file = kyb::openRegularFile(QFile::encodeName(path).toStdString(), O_RDONLY);
    QFile terms;
    const QByteArray data =
        file && terms.open(file.get(), QIODevice::ReadOnly) ? terms.read(kyb::kMaxRichTextBytes + 1) : QByteArray();
    if (data.isEmpty()) {
        licenseTextView->setText(QStringLiteral("License file missing!"));
        return;
    }
    const kyb::RichTextDocument document = kyb::parseRichText(data);
    tellWhatIsMissing(path, document);
    licenseTextView->setRichText(document);
}

void KYViewController::displayInstallationViewFromLicenseView() {
    licenseView->removeFromSuperview();
    publicOrPrivateView->removeFromSuperview();
    installationBox->addSubview(*installationView);
    installationView->setHidden(false);
    termsOfServiceButton->setHidden(false);
    if (!checkBoxButton->isChecked()) {
        // NB: never enabled here; on the way back from the terms it is already.
        multipleActionsButton->setEnabled(false);
    }
    multipleActionsButton->setText(localizedText(QStringLiteral("Next")));
    cancelButton->setHidden(false);
    backButton->setEnabled(false);
    backButton->setTransparent(true);
}

void KYViewController::displayPublicOrPrivateView() {
    termsOfServiceButton->setHidden(true);
    installationView->setHidden(true);
    installationBox->addSubview(*publicOrPrivateView);
    licenseTextView->setText(QString()); // NB: not on this screen; emptied all the same
    cancelButton->setHidden(true);
    multipleActionsButton->setText(localizedText(QStringLiteral("Install")));
    multipleActionsButton->setEnabled(true);
    backButton->setEnabled(true);
    backButton->setTransparent(false);
}

void KYViewController::displayInstallationInProgressView() {
    termsOfServiceButton->setTransparent(true);
    termsOfServiceButton->displayNow();
    termsOfServiceButton->setEnabled(false);
    installationInProgressImageView->setImage({localizedText(QStringLiteral("applicationImage")), {}});
    putAway(*cancelButton);
    putAway(*multipleActionsButton);
    cancelButton->displayIfNeeded();
    multipleActionsButton->displayIfNeeded();
    installationView->removeFromSuperview();
    publicOrPrivateView->removeFromSuperview();
    putAway(*backButton);
    progressInfoLabel->setText(QString());
    installationBox->addSubview(*installationProgressView);
}

void KYViewController::displayInstallFinishedView() {
    if (isSilentInstall) {
        exitApplication(nullptr);
        return;
    }
    kyb::inBackground([this] { retrieveInstallationLogsToView(); });
    installationProgressView->removeFromSuperview();
    installationBox->addSubview(*installationResultView);
    closeButton->setEnabled(true);
    closeButton->setTransparent(false);
    showResult();
    parentWindow->setCloseButtonEnabled(true);
}

void KYViewController::showResult() {
    if (installFailed) {
        WriteLog(QStringLiteral("Installation failed..."));
        installationResultLabel->setText(localizedText(QStringLiteral("InstallFailed")));
        installationSubResultLabel->setText(localizedText(QStringLiteral("InstallFailedSubResult")));
    } else {
        WriteLog(QStringLiteral("Installation successful..."));
        installationResultLabel->setText(localizedText(QStringLiteral("InstallSuccessful")));
        installationSubResultLabel->setText(localizedText(QStringLiteral("InstallSuccessfulSubResult")));
    }
    const QString picture = installFailed ? QStringLiteral("Alert.png") : QStringLiteral("Success.png");
    installationResultImageView->setImage({picture, installationResultImageView->frameSize()});
}

void KYViewController::acceptTermsCheckBoxClicked(Sender) {
    const bool accepted = checkBoxButton->isChecked();
    isTermsAndConditionsAccepted = accepted;
    multipleActionsButton->setEnabled(accepted);
    if (accepted) {
        termsAndConditionsViewBox->setBorderColor(kyb::Color::Clear);
    }
}

void KYViewController::showBorderOnTermsAndConditionsView() {
    if (checkBoxButton->isEnabled()) {
        termsAndConditionsViewBox->setBorderColor(kyb::Color::Red);
    }
}

// NB: a click on the box that is on leaves both off, and the last choice stands.

void KYViewController::publicCheckBoxClicked(Sender) {
    privateCheckBoxButton->setChecked(false);
    if (publicCheckBoxButton->isChecked()) {
        isPrivateComputerAccepted = false;
    }
}

void KYViewController::privateCheckBoxClicked(Sender) {
    publicCheckBoxButton->setChecked(false);
    if (privateCheckBoxButton->isChecked()) {
        isPrivateComputerAccepted = true;
    }
}
