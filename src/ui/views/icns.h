#pragma once

#include <QByteArray>

namespace kyb {

/// The PNG picture of an icon container (".icns") that fits best: the smallest whose longer side has at least \p
/// pixels, else the largest. Empty when the container holds no PNG picture, or is none. Broken entries are passed over,
/// and what follows an entry of impossible length is not looked at. Any thread.
QByteArray bestIcnsPicture(const QByteArray &container, int pixels);

} // namespace kyb
