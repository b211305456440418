#pragma once

#include <QString>
#include <optional>

namespace kyb {

/// A longer file is not read.
inline constexpr std::size_t kMaxPropertyListBytes = std::size_t{16} << 20;

/// The value of \p key in the dictionary that the property list file at \p path holds, XML or binary, as text.
/// Numbers and truth values are spelled out ("42", "1.5", "true"); for a date, an array, a dictionary or data, which
/// are values as well, the text is empty.
///
/// \return nothing when the file is missing, unreadable, no regular file, too long, not a property list, not a
///         dictionary, or has no such key. Never throws, logs nothing. Any thread.
std::optional<QString> propertyListValue(const QString &path, const QString &key);

} // namespace kyb
