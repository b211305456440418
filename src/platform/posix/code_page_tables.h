#pragma once

#include <QByteArrayView>
#include <QString>
#include <optional>

namespace kyb {

/// What the system's own tables make of \p bytes in the code page \p number; nothing when it has no such page. A byte
/// that spells nothing gives U+FFFD, or the control character of its number, as the tables have it. For `fromCodePage`,
/// which makes its contract out of it. Any thread.
std::optional<QString> decodedBySystem(int number, QByteArrayView bytes);

} // namespace kyb
