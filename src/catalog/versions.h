#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>
#include <cstdint>
#include <optional>

namespace kyb {

/// The driver's version in a version list: UTF-8 text, one "product=version" a line, lines separated by any newline
/// characters. The first line that begins with "Brelund Quorlix Driver=" counts, and of it what follows its last "=".
///
/// \return nothing when no line matches or \p list is not UTF-8. Pure.
std::optional<QString> availableVersion(const QByteArray &list);

struct SystemVersion {
    std::int32_t major = 0;
    std::int32_t minor = 0;
};

/// The first two numbers of a dotted version text such as "10.15.7"; a number that is not there is 0. Pure.
SystemVersion parseSystemVersion(QStringView productVersion);

/// The leading decimal number of \p text, 0 when it has none. It may have blanks and a sign in front, is limited to 64
/// bits and then cut to 32. Pure.
std::int32_t integerValue(QStringView text);

} // namespace kyb
