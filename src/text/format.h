#pragma once

#include <QString>
#include <optional>

namespace kyb {

/// The text of an object in a message: an absent one reads "(null)".
inline QString orNull(const std::optional<QString> &text) {
    return text.value_or(QStringLiteral("(null)"));
}

} // namespace kyb
