#pragma once

#include <QHash>
#include <QString>

namespace kyb {

/// The text of \p key in the string table of the user's best language; the key itself when the table has none. Lines of
/// the table that cannot be read are reported to the system log once, with their numbers. Any thread.
QString localizedText(const QString &key);

/// The entries of the string table \p fileName of the user's best language; none when there is no such file. Lines that
/// cannot be read are reported to the system log. Any thread.
QHash<QString, QString> localizedTable(const QString &fileName);

} // namespace kyb
