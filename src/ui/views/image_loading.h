#pragma once

#include "base/KYGlobalConstants.h"

#include <QByteArray>
#include <QPixmap>
#include <QSize>
#include <QString>

namespace kyb {

/// The bundle's picture \p name ("Name.png", "Name.icns"; without an ending it is a PNG), for a screen with
/// \p devicePixelRatio pixels to the point: exactly \p points large, or its own size when \p points is empty. Taken
/// from the best of what there is ("Name@2x.png", the icon container's entries), scaled smoothly.
///
/// Null when there is no such picture, when it cannot be read, or when it is larger than any picture of the bundle has
/// reason to be. Cached, so it may be asked for at every draw. Main thread.
QPixmap bundlePixmap(const QString &name, QSize points, double devicePixelRatio);

/// The size in points at which a picture is shown: the one it was given, else its own; 0 by 0 when there is none.
/// Main thread.
QSize imageSize(const NamedImage &image);

/// Whether the bundle has a picture of that name. Main thread.
bool bundleHasImage(const QString &name);

/// \p name with \p suffix before its ending: "Picture.png" and "_dark" give "Picture_dark.png". Any thread.
QString nameWithSuffix(const QString &name, const QString &suffix);

/// The PNG picture of an icon container (".icns") that fits best: the smallest whose longer side has at least \p
/// pixels, else the largest. Empty when the container holds no PNG picture, or is none. Broken entries are passed over,
/// and what follows an entry of impossible length is not looked at. Any thread.
QByteArray bestIcnsPicture(const QByteArray &container, int pixels);

} // namespace kyb
