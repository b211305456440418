#include "controller/KYViewController.h"

#include "controller/UserInterface.h"
#include "platform/system_log.h"

namespace {

using Self = KYViewController;

struct OutletRow {
    const char *name; ///< the control's object name in the interface descriptions
    void (*connect)(Self &, kyb::Control *);
};

struct ActionRow {
    kyb::HasAction &(*control)(const Self &);
    void (Self::*operation)(Self::Sender);
};

template <auto outlet> void connect(Self &self, kyb::Control *found) {
    (self.*outlet).connect(found);
}

template <auto outlet> kyb::HasAction &control(const Self &self) {
    return *(self.*outlet);
}

// clang-format off
#define OUTLET(name) {#name, connect<&Self::name>}

constexpr OutletRow kOutlets[] = {
    // Main window and screen containers
    OUTLET(parentWindow), OUTLET(titleWindow), OUTLET(installationBox), OUTLET(installationView),
    OUTLET(licenseView), OUTLET(publicOrPrivateView), OUTLET(installationProgressView),
    OUTLET(installationResultView), OUTLET(lockView),
    // Drag-and-drop screen
    OUTLET(sourceIconView), OUTLET(arrowImageView), OUTLET(warningImageView), OUTLET(packageNameLabel),
    OUTLET(destinationNameLabel), OUTLET(warningField), OUTLET(titleDragandDropMessage), OUTLET(topInfoLabel),
    OUTLET(warningScrollView), OUTLET(tooltipView), OUTLET(initializationProgressIndicator),
    // Terms screen
    OUTLET(licenseTextView), OUTLET(termsAndConditionsView), OUTLET(termsAndConditionsViewBox),
    OUTLET(checkBoxButton), OUTLET(termsOfServiceButton), OUTLET(licenseAgrement), OUTLET(agreeTermsOfKYB),
    // Public or private screen
    OUTLET(publicCheckBoxButton), OUTLET(privateCheckBoxButton), OUTLET(publicMessage), OUTLET(privateMessage),
    OUTLET(saveComputerSettingsMessage),
    // Progress and result screens
    OUTLET(installProgressIndicator), OUTLET(progressInfoLabel), OUTLET(installProgressViewBoldLabel),
    OUTLET(initializingInstaller), OUTLET(installerBusyWarningLabel), OUTLET(lockViewLabel),
    OUTLET(installationResultLabel), OUTLET(installationSubResultLabel), OUTLET(installationInProgressImageView),
    OUTLET(installationResultImageView),
    // Navigation buttons
    OUTLET(nextButton), OUTLET(backButton), OUTLET(closeButton), OUTLET(cancelButton),
    OUTLET(multipleActionsButton),
    // Sheets
    OUTLET(warningSheetWindow), OUTLET(appsBusyWarningSheetWindow), OUTLET(quitAppWarningSheet),
    OUTLET(warningSheetTextView), OUTLET(warningSheetImageView), OUTLET(warningSheetOKButton),
    OUTLET(warningSheetCancelButton), OUTLET(appsBusyWarningSheet_warning),
    OUTLET(appsBusyWarningSheet_closeApplications), OUTLET(appsBusyWarningSheet_CancelButton),
    OUTLET(appsBusyWarningSheet_ContinueButton), OUTLET(appRunning_ContinueButton),
    OUTLET(quit_App_WarningSheet_installerBusyMessage), OUTLET(quit_App_WarningSheet_windowClosedMessage),
    OUTLET(quit_App_WarningSheet_OK),
    // Menu
    OUTLET(showLogMenuItem), OUTLET(aboutMenuItem), OUTLET(installerLog), OUTLET(hideMenuItem), OUTLET(hideOthers),
    OUTLET(showAll), OUTLET(quitMenuItem),
    // Log viewer
    OUTLET(logWindow), OUTLET(logTextView), OUTLET(logToolBar), OUTLET(searchItem), OUTLET(saveButtonItem),
};

#undef OUTLET

/// What a press, an edit or a choice runs.
constexpr ActionRow kActions[] = {
    {control<&Self::multipleActionsButton>,             &Self::nextOrBackOrFinishButtonAction},
    {control<&Self::backButton>,                        &Self::backButtonActionInPublicPrivateView},
    {control<&Self::cancelButton>,                      &Self::displayWarningSheetWhenQuittingApplication},
    {control<&Self::closeButton>,                       &Self::exitApplication},
    {control<&Self::termsOfServiceButton>,              &Self::displayLicenseView},
    {control<&Self::checkBoxButton>,                    &Self::acceptTermsCheckBoxClicked},
    {control<&Self::publicCheckBoxButton>,              &Self::publicCheckBoxClicked},
    {control<&Self::privateCheckBoxButton>,             &Self::privateCheckBoxClicked},
    {control<&Self::quit_App_WarningSheet_OK>,          &Self::quitAppWarningSheetOKPressed},
    {control<&Self::warningSheetOKButton>,              &Self::warningSheetOKPressed},
    {control<&Self::warningSheetCancelButton>,          &Self::warningSheetCancelPressed},
    {control<&Self::appsBusyWarningSheet_CancelButton>, &Self::appsBusyWarningSheetCancelPressed},
    {control<&Self::quitMenuItem>,                      &Self::displayWarningSheetWhenQuittingApplication},
    {control<&Self::showLogMenuItem>,                   &Self::showInstallationLog},
    {control<&Self::searchItem>,                        &Self::filterLog},
    {control<&Self::saveButtonItem>,                    &Self::showLogFileSavePanel},
};
// clang-format on

} // namespace

void KYViewController::connectOutlets(kyb::UserInterface &userInterface) {
    for (const OutletRow &row : kOutlets) {
        kyb::Control *found = userInterface.control(QString::fromLatin1(row.name));
        if (found == nullptr) {
            kyb::systemLog(QStringLiteral("The screens lack \"%1\".").arg(QLatin1String(row.name)));
        }
        row.connect(*this, found);
    }
    for (const ActionRow &row : kActions) {
        row.control(*this).onAction(
            [this, operation = row.operation](kyb::HasText &sender) { (this->*operation)(&sender); });
    }
}
