#pragma once

#include <QStringView>
#include <QVector>

namespace kyb {

/// Whether \p unit ends a line: LF, VT, FF, CR, NEL, LINE SEPARATOR or PARAGRAPH SEPARATOR.
constexpr bool isNewline(char16_t unit) {
    return (unit >= 0x000A && unit <= 0x000D) || unit == 0x0085 || unit == 0x2028 || unit == 0x2029;
}

/// The pieces of \p text between its newline characters, empty ones included: one more than there are newlines. Each
/// newline character separates by itself, so CR LF has an empty piece in it. The pieces point into \p text. Pure.
QVector<QStringView> splitAtNewlines(QStringView text);

} // namespace kyb
