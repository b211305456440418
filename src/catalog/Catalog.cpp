#include "controller/KYViewController.h"

#include "base/KYGlobalConstants.h"
#include "base/threads.h"
#include "catalog/versions.h"
#include "platform/property_list.h"
#include "platform/system_log.h"
#include "platform/system_root.h"
#include "posix/file_io.h"
#include "text/format.h"
#include "text/localized_text.h"
#include "text/resources.h"
#include "text/string_table.h"

#include <QFile>
#include <QFileInfo>

using kyb::localizedText;

namespace {

constexpr std::size_t kMaxVersionListBytes = std::size_t{16} << 20; // a longer one is none

} // namespace

void KYViewController::initApps() {
    selectedApp = std::make_unique<KYRavexApp>();
    getSystemVersionDetails();
    if (!isSilentInstall) {
        setDestinationDiskDetails();
    }
    selectedApp->setPkgName(QStringLiteral("/OSX/Brelund Quorlix Driver.pkg"));
    const QString package = kyb::pathBesideBundle(selectedApp->pkgName());
    if (!QFileInfo::exists(package)) {
        kyb::systemLog(QStringLiteral("There is no package at %1.").arg(package)); // NB: and not in the wrapper log
        showMissingPackage();
        return;
    }
    selectedApp->isInstalled = false;
    selectedApp->setInstalledVersion(QString());
    selectedApp->isSelectedForInstall = true;
    showFoundPackage();
    kyb::inBackground([this] { initAppsDetailsInBackground(); });
}

void KYViewController::showFoundPackage() {
    sourceIconImage = {localizedText(QStringLiteral("applicationImage")), sourceIconView->frameSize()};
    sourceIconView->setImage(sourceIconImage);
    arrowImageView->setImage({QStringLiteral("Drag_arrow.png"), {}});
    warningField->setFont(destinationNameLabel->font());
    initializationProgressIndicator->startAnimation();
}

void KYViewController::showMissingPackage() {
    isTermsAndConditionsAccepted = false;
    packageNameLabel->setTextColor(kyb::Color::Red);
    packageNameLabel->setText(localizedText(QStringLiteral("MissingPackage")));
    sourceIconImage = {QStringLiteral("Alert.png"), sourceIconView->frameSize()};
    sourceIconView->setImage(sourceIconImage);
    warningField->setHidden(true);
    initializationProgressIndicator->stopAnimation();
    initializationProgressIndicator->setHidden(true);
}

void KYViewController::initAppsDetailsInBackground() {
    getAvailableApplicationVersions();
    getInstalledApplicationVersions();
    kyb::onMainThreadAndWait([this] { onAppsInitializationComplete(); });
}

void KYViewController::getAvailableApplicationVersions() {
    const QString path = kyb::pathBesideBundle(QStringLiteral("/OSX/macver.list"));
    const kyb::UniqueFd file = kyb::openRegularFile(QFile::encodeName(path).toStdString(), O_RDONLY);
    const std::optional<std::string> list = kyb::readAll(file.get(), kMaxVersionListBytes);
    if (const auto version = list ? kyb::availableVersion(QByteArray::fromStdString(*list)) : std::nullopt) {
        m_availablePackageVersion = version;
    }
}

void KYViewController::getInstalledApplicationVersions() {
    const QString receipt = kyb::systemPath(QStringLiteral("/var/db/receipts/com.Brelund.QuorlixInstaller.plist"));
    const std::optional<QString> version = kyb::propertyListValue(receipt, QStringLiteral("PackageVersion"));
    if (version) {
        selectedApp->isInstalled = true;
        selectedApp->setInstalledVersion(*version);
    }
}

void KYViewController::onAppsInitializationComplete() {
    if (isSilentInstall) {
        kyb::systemLog(QStringLiteral("Silent installation: Will start installation"));
        proceedWithInstallation();
        return;
    }
    const QString name = localizedText(QStringLiteral("displayName"));
    packageNameLabel->setText(QStringLiteral("%1\n%2").arg(name, kyb::orNull(m_availablePackageVersion)));
    initializationProgressIndicator->stopAnimation();
    initializationProgressIndicator->setHidden(true);
    if (selectedApp->isInstalled) {
        warningField->setText(kyb::formatWithArguments(localizedText(QStringLiteral("AppInstalledWarningMessage")),
                                                       {name, selectedApp->installedVersion()}));
        warningImageView->setImage({QStringLiteral("Alert.png"), {}});
    } else {
        warningField->setHidden(true);
    }
    isInitializationComplete = true;
    checkBoxButton->setEnabled(true);
}
