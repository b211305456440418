#include "controller/KYViewController.h"

#include "controller/interface.h"

namespace {

using Self = KYViewController;

struct OutletRow {
    const char *name; ///< the control's object name in the interface descriptions
    kyb::Outlet Self::*outlet;
};

struct ActionRow {
    kyb::Outlet Self::*outlet;
    void (Self::*operation)(Self::Sender);
};

#define OUTLET(name)                                                                                                   \
    { #name, &Self::name }

constexpr OutletRow kOutlets[] = {
    OUTLET(parentWindow),
    OUTLET(titleWindow),
    OUTLET(installationBox),
    OUTLET(installationView),
    OUTLET(licenseView),
    OUTLET(publicOrPrivateView),
    OUTLET(installationProgressView),
    OUTLET(installationResultView),
    OUTLET(lockView),
    OUTLET(sourceIconView),
    OUTLET(arrowImageView),
    OUTLET(packageNameLabel),
    OUTLET(destinationNameLabel),
    OUTLET(warningField),
    OUTLET(warningImageView),
    OUTLET(warningScrollView),
    OUTLET(initializationProgressIndicator),
    OUTLET(titleDragandDropMessage),
    OUTLET(topInfoLabel),
    OUTLET(tooltipView),
    OUTLET(licenseTextView),
    OUTLET(termsAndConditionsView),
    OUTLET(termsAndConditionsViewBox),
    OUTLET(checkBoxButton),
    OUTLET(termsOfServiceButton),
    OUTLET(licenseAgrement),
    OUTLET(agreeTermsOfKYB),
    OUTLET(publicCheckBoxButton),
    OUTLET(privateCheckBoxButton),
    OUTLET(publicMessage),
    OUTLET(privateMessage),
    OUTLET(saveComputerSettingsMessage),
    OUTLET(installProgressIndicator),
    OUTLET(progressInfoLabel),
    OUTLET(installProgressViewBoldLabel),
    OUTLET(installationInProgressImageView),
    OUTLET(initializingInstaller),
    OUTLET(installerBusyWarningLabel),
    OUTLET(lockViewLabel),
    OUTLET(installationResultLabel),
    OUTLET(installationSubResultLabel),
    OUTLET(installationResultImageView),
    OUTLET(nextButton),
    OUTLET(backButton),
    OUTLET(closeButton),
    OUTLET(cancelButton),
    OUTLET(multipleActionsButton),
    OUTLET(warningSheetWindow),
    OUTLET(warningSheetTextView),
    OUTLET(warningSheetImageView),
    OUTLET(warningSheetOKButton),
    OUTLET(warningSheetCancelButton),
    OUTLET(appsBusyWarningSheetWindow),
    OUTLET(appsBusyWarningSheet_warning),
    OUTLET(appsBusyWarningSheet_closeApplications),
    OUTLET(appsBusyWarningSheet_CancelButton),
    OUTLET(appsBusyWarningSheet_ContinueButton),
    OUTLET(appRunning_ContinueButton),
    OUTLET(quitAppWarningSheet),
    OUTLET(quit_App_WarningSheet_installerBusyMessage),
    OUTLET(quit_App_WarningSheet_windowClosedMessage),
    OUTLET(quit_App_WarningSheet_OK),
    OUTLET(showLogMenuItem),
    OUTLET(aboutMenuItem),
    OUTLET(installerLog),
    OUTLET(hideMenuItem),
    OUTLET(hideOthers),
    OUTLET(showAll),
    OUTLET(quitMenuItem),
    OUTLET(logWindow),
    OUTLET(logTextView),
    OUTLET(logToolBar),
    OUTLET(searchItem),
    OUTLET(saveButtonItem),
};

#undef OUTLET

// clang-format off
/// What a press, an edit or a choice runs.
constexpr ActionRow kActions[] = {
    {&Self::multipleActionsButton,             &Self::nextOrBackOrFinishButtonAction},
    {&Self::backButton,                        &Self::backButtonActionInPublicPrivateView},
    {&Self::cancelButton,                      &Self::displayWarningSheetWhenQuittingApplication},
    {&Self::closeButton,                       &Self::exitApplication},
    {&Self::termsOfServiceButton,              &Self::displayLicenseView},
    {&Self::checkBoxButton,                    &Self::acceptTermsCheckBoxClicked},
    {&Self::publicCheckBoxButton,              &Self::publicCheckBoxClicked},
    {&Self::privateCheckBoxButton,             &Self::privateCheckBoxClicked},
    {&Self::quit_App_WarningSheet_OK,          &Self::quitAppWarningSheetOKPressed},
    {&Self::warningSheetOKButton,              &Self::warningSheetOKPressed},
    {&Self::warningSheetCancelButton,          &Self::warningSheetCancelPressed},
    {&Self::appsBusyWarningSheet_CancelButton, &Self::appsBusyWarningSheetCancelPressed},
    {&Self::quitMenuItem,                      &Self::displayWarningSheetWhenQuittingApplication},
    {&Self::showLogMenuItem,                   &Self::showInstallationLog},
    {&Self::searchItem,                        &Self::filterLog},
    {&Self::saveButtonItem,                    &Self::showLogFileSavePanel},
};
// clang-format on

} // namespace

void KYViewController::connectOutlets(kyb::Interface &interface) {
    for (const OutletRow &row : kOutlets) {
        (this->*row.outlet).connect(interface.control(QString::fromLatin1(row.name)));
    }
    for (const ActionRow &row : kActions) {
        (this->*row.outlet)->onAction([this, operation = row.operation](kyb::Control &sender) {
            (this->*operation)(&sender);
        });
    }
}
