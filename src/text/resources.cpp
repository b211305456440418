#include "text/resources.h"

#include "platform/bundle.h"
#include "platform/locale_info.h"

#include <QFileInfo>

namespace kyb {

QString resourcePath(const QString &fileName) {
    const QString folder = resourcesFolder();
    for (const QString &language : preferredLanguages()) {
        QString localized = QStringLiteral("%1/%2.lproj/%3").arg(folder, language, fileName);
        if (QFileInfo::exists(localized)) {
            return localized;
        }
    }
    const QString plain = QStringLiteral("%1/%2").arg(folder, fileName);
    return QFileInfo::exists(plain) ? plain : QString();
}

QString resourcesFolder() {
    return bundlePath() + QStringLiteral("/Contents/Resources");
}

QString pathBesideBundle(const QString &relativePath) {
    return QFileInfo(bundlePath()).path() + relativePath;
}

} // namespace kyb
