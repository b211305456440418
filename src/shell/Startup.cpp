#include "controller/KYViewController.h"

#include "base/KYGlobalConstants.h"
#include "base/notification_center.h"
#include "platform/activation.h"

KYViewController::~KYViewController() {
    for (const int observation : observations_) {
        kyb::removeObserver(observation);
    }
}

void KYViewController::awakeFromNib() {
    observations_ = {
        kyb::addObserver(PerformDragOperationNotification, [this] { displayPublicOrPrivateView(); }),
        kyb::addObserver(UninstallFinishedNotification, [this] { installSelectedPackages(); }),
        kyb::addObserver(TermsNotAcceptedNotification, [this] { showBorderOnTermsAndConditionsView(); }),
    };
    initLogFile();
    initializeNIB();
    checkBoxButton->setEnabled(false);
    closeButton->setEnabled(false);
    closeButton->setTransparent(true);
    backButton->setEnabled(false);
    backButton->setTransparent(true);
    termsAndConditionsViewBox->setBorderColor(kyb::Color::Clear);
    multipleActionsButton->setEnabled(false);
    initApps();
    if (isSilentInstall) {
        WriteLog(QStringLiteral("Silent Installation!!!"));
        kyb::becomeAccessory();
    } else {
        parentWindow->makeKeyAndOrderFront();
    }
}
