#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace kyb {

/// The driver's version in a version list: UTF-8 text, one "product=version" a line, lines separated by any newline
/// characters. The first line that begins with "Brelund Quorlix Driver=" counts, and of it what follows its last "=".
///
/// \return nothing when no line matches or \p list is not UTF-8. Pure.
std::optional<QString> availableVersion(const QByteArray &list);

} // namespace kyb
