#include "platform/volume.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <sys/statvfs.h>

namespace kyb {

std::optional<double> freeBytesOnVolume(const QString &path) {
    struct statvfs volume {};
    if (statvfs(QFile::encodeName(path).constData(), &volume) != 0) {
        return {};
    }
    return static_cast<double>(volume.f_bavail) * static_cast<double>(volume.f_frsize);
}

QString displayName(const QString &path) {
    const QString name = QFileInfo(QDir::cleanPath(path)).fileName();
    return name.isEmpty() ? QStringLiteral("/") : name;
}

} // namespace kyb
