#include "controller/KYViewController.h"

#include "base/KYGlobalConstants.h"

namespace {

void close(kyb::Sheet &sheet) {
    sheet.endSheet();
    sheet.orderOut();
}

} // namespace

void KYViewController::displayWarningSheetWhenQuittingApplication(Sender sender) {
    if (!uninstallationInProgress && !installationInProgress) {
        exitApplication(sender);
        return;
    }
    parentWindow->beginSheet(*quitAppWarningSheet);
}

void KYViewController::displayWarningSheet() {
    parentWindow->beginSheet(*warningSheetWindow);
}

void KYViewController::displayAppsBusyWarningSheet() {
    parentWindow->beginSheet(*appsBusyWarningSheetWindow);
}

void KYViewController::quitAppWarningSheetOKPressed(Sender) {
    close(*quitAppWarningSheet);
}

void KYViewController::warningSheetOKPressed(Sender) {
    close(*warningSheetWindow);
    proceedWithInstallation();
}

void KYViewController::warningSheetCancelPressed(Sender) {
    close(*warningSheetWindow);
}

void KYViewController::appsBusyWarningSheetCancelPressed(Sender) {
    warningSheetTextView->setTextColor(kyb::Color::Black); // NB: the other sheet's text
    close(*appsBusyWarningSheetWindow);
}
