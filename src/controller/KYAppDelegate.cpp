#include "controller/KYAppDelegate.h"

#include "base/KYGlobalConstants.h"
#include "controller/KYViewController.h"

bool KYAppDelegate::isSafeToCloseWindow() const {
    return !uninstallationInProgress && !installationInProgress;
}

bool KYAppDelegate::windowShouldClose() const {
    return isSafeToCloseWindow();
}

bool KYAppDelegate::applicationShouldTerminateAfterLastWindowClosed() const {
    return isSafeToCloseWindow();
}

bool KYAppDelegate::applicationShouldTerminate() {
    if (isSafeToCloseWindow()) {
        return true;
    }
    controller_.displayWarningSheetWhenQuittingApplication(nullptr);
    return false;
}
