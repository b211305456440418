#include "platform/volume.h"

#include "platform/macos/cf_string.h"

#include <QFile>
#include <QFileInfo>

namespace kyb {
namespace {

/// What the system says of \p path under \p key, an object of the type that the key has; none when it says nothing.
CFOwned<CFTypeRef> resourceValue(const QString &path, CFStringRef key) {
    const QByteArray name = QFile::encodeName(path);
    const CFOwned url(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8 *>(name.constData()), name.size(), true));
    CFTypeRef value = nullptr;
    if (url && CFURLCopyResourcePropertyForKey(url.get(), key, &value, nullptr)) {
        return CFOwned(value);
    }
    return {};
}

} // namespace

std::optional<double> freeBytesOnVolume(const QString &path) {
    const CFOwned<CFTypeRef> value = resourceValue(path, kCFURLVolumeAvailableCapacityKey);
    double bytes = 0;
    if (!value || !CFNumberGetValue(static_cast<CFNumberRef>(value.get()), kCFNumberDoubleType, &bytes)) {
        return std::nullopt;
    }
    return bytes;
}

QString displayName(const QString &path) {
    const CFOwned<CFTypeRef> value = resourceValue(path, kCFURLLocalizedNameKey);
    const QString name = fromCFString(static_cast<CFStringRef>(value.get()));
    if (!name.isEmpty()) {
        return name;
    }
    const QString lastPiece = QFileInfo(path).fileName();
    return lastPiece.isEmpty() ? path : lastPiece;
}

} // namespace kyb
