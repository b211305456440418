#include "controller/KYViewController.h"

#include "base/KYGlobalConstants.h"
#include "catalog/versions.h"
#include "platform/locale_info.h"
#include "platform/property_list.h"
#include "platform/system_root.h"
#include "platform/volume.h"
#include "text/localized_text.h"

using kyb::localizedText;

namespace {

constexpr double kBytesPerGigabyte = 1'000'000'000; // decimal

} // namespace

void KYViewController::getSystemVersionDetails() {
    const QString file = kyb::systemPath(QStringLiteral("/System/Library/CoreServices/SystemVersion.plist"));
    const kyb::SystemVersion version =
        kyb::parseSystemVersion(kyb::propertyListValue(file, QStringLiteral("ProductVersion")).value_or(QString()));
    osVersionMajor = version.major;
    osVersionMinor = version.minor;

    const QString identifier = kyb::localeIdentifier();
    WriteLog(
        QStringLiteral("MacOS Version: %1.%2").arg(QString::number(osVersionMajor), QString::number(osVersionMinor)));
    WriteLog(QStringLiteral("Current Logged in User: %1").arg(curUserName));
    // NB: the words of the next two lines are the other way round than what they carry.
    WriteLog(QStringLiteral("System Language: %1").arg(identifier));
    WriteLog(QStringLiteral("System Locale Identifier: %1").arg(kyb::localeDisplayName(identifier)));
}

void KYViewController::setDestinationDiskDetails() {
    const QString root = kyb::systemPath(QStringLiteral("/"));
    const double freeGigabytes = kyb::freeBytesOnVolume(root).value_or(0) / kBytesPerGigabyte;
    destinationNameLabel->setText(QStringLiteral("%1\n(%2: %3 %4)")
                                      .arg(kyb::displayName(root), localizedText(QStringLiteral("AvailableSpace")),
                                           kyb::twoDecimals(freeGigabytes), localizedText(QStringLiteral("GB"))));
}
