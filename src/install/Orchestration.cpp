#include "controller/KYViewController.h"

#include "base/KYGlobalConstants.h"
#include "base/threads.h"
#include "install/command_lines.h"
#include "platform/power.h"
#include "platform/system_root.h"
#include "text/format.h"
#include "text/localized_text.h"
#include "text/string_table.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <array>
#include <cstdio>
#include <cstdlib>

using kyb::localizedText;
using kyb::systemPath;

namespace {

QString administratorPreferences() {
    return systemPath(QStringLiteral("/Library/Preferences/BrelundQuorlixAdmin.plist"));
}

bool helperIsMissing() {
    return !QFileInfo::exists(systemPath(QStringLiteral("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool")));
}

} // namespace

void KYViewController::initiateInstallation() {
    proceedWithInstallation();
}

void KYViewController::proceedWithInstallation() {
    xpcConnection(kyb::listCommand(systemPath(QStringLiteral("/Applications/"))), InstallerLog::No);
    if (helperIsMissing() || installFailed) {
        std::optional<QString> error;
        if (!registerHelperTool(QStringLiteral("com.kyb.InstallerHelperTool"), &error)) {
            WriteLog(QStringLiteral("Failed to install the Helper Tool. Error: %1").arg(kyb::orNull(error)));
            return; // NB: also in silent mode, where nothing ends the process then
        }
    }
    installFailed = false;
    kyb::keepMachineAwake(); // NB: until the result, without a gap between uninstall and installation
    if (!isSilentInstall) {
        displayInstallationInProgressView();
        installationProgressView->displayNow();
    }
    WriteLog(QStringLiteral("Preparing for Installation!!!"));
    termsOfServiceButton->setHidden(true);
    if (!isSilentInstall) {
        checkBoxButton->setEnabled(false);
        isTermsAndConditionsAccepted = false;
    }
    parentWindow->setCloseButtonEnabled(false);
    if (!selectedApp->isInstalled) {
        startPackageInstallation();
        return;
    }
    WriteLog(QStringLiteral("Preparing for Uninstallation!!!"));
    installProgressViewBoldLabel->setText(localizedText(QStringLiteral("Uninstalling")));
    progressInfoLabel->setText(QString());
    installProgressViewBoldLabel->displayNow();
    installProgressIndicator->setValue(0.0);
    progressInfoLabel->displayNow();
    uninstallationInProgress = true;
    kyb::inBackground([this] { startUninstallationProgressUpdate(); });
    kyb::inBackground([this] { uninstallPreviousVersion(); });
}

void KYViewController::uninstallPreviousVersion() {
    WriteLog(QStringLiteral("Will delete existing Brelund Quorlix Driver."));
    runScriptWithAuthorization(systemPath(QStringLiteral("/Library/Printers/BrelundQuorlix/Uninstall.sh")));
    // NB: both lines, whatever the script did; with the helper, before it has even run.
    WriteLog(QStringLiteral("Older Brelund Quorlix Driver uninstalled successfully."));
    WriteLog(QStringLiteral("Uninstallation finished."));
    uninstallationInProgress = false;
}

void KYViewController::startPackageInstallation() {
    installationInProgress = true;
    installProgressViewBoldLabel->setText(kyb::formatWithArguments(localizedText(QStringLiteral("Installing")),
                                                                   {localizedText(QStringLiteral("displayName"))}));
    installProgressViewBoldLabel->displayNow();
    installProgressIndicator->setValue(0.0);
    progressInfoLabel->setHidden(false);
    progressInfoLabel->setText(localizedText(QStringLiteral("PHASE_PrepareInstall")));
    parentWindow->setCloseButtonEnabled(false);
    kyb::inBackground([this] { startMonitoringLogFile(); });
    kyb::inBackground([this] { installSelectedPackages(); });
}

void KYViewController::installSelectedPackages() {
    if (selectedApp->isSelectedForInstall) {
        installPackage();
    }
    updateValueBasedOnPublicOrPrivateCheckBox();
    kyb::letMachineSleep();
    kyb::onMainThread([this] { displayProgressInfo({100, QString()}); });
    kyb::onMainThread([this] { displayInstallFinishedView(); });
}

void KYViewController::updateValueBasedOnPublicOrPrivateCheckBox() {
    const QString preferences = administratorPreferences();
    if (QFileInfo::exists(preferences)) {
        const QString command = kyb::preferenceCommand(
            systemPath(QStringLiteral("/usr/libexec/PlistBuddy")),
            isPrivateComputerAccepted ? kyb::Computer::Private : kyb::Computer::Public, preferences);
        if (FILE *pipe = popen(command.toUtf8().constData(), "w")) {
            pclose(pipe);
        }
    }
    // NB: with the user's rights, and also when there is no such file.
    std::array<char, 1024> command{};
    std::snprintf(command.data(), command.size(), "sudo chmod -R 644 \"%s\"", qUtf8Printable(preferences));
    [[maybe_unused]] const int unread = std::system(command.data());
}

void KYViewController::exitApplication(Sender) {
    QCoreApplication::exit(isSilentInstall && installFailed ? 1 : 0);
}
