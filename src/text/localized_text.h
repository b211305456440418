#pragma once

#include <QString>

namespace kyb {

/// The text of \p key in the string table of the user's best language; the key itself when the table has none. Lines of
/// the table that cannot be read are reported to the system log once, with their numbers. Any thread.
QString localizedText(const QString &key);

} // namespace kyb
