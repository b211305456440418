#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QVector>

namespace kyb {

/// One entry of a string table that could not be read.
struct StringTableError {
    int line = 0; ///< where the entry begins; the first line is 1
    QString message;
};

struct StringTable {
    QHash<QString, QString> entries;
    QVector<StringTableError> errors; ///< in the order of the lines; one for a byte that is no text comes first
};

/// Reads a ".strings" file: entries of the form "key" = "value"; with comments between them.
///
/// The bytes are UTF-8, or UTF-16 with a byte order mark. Keys and values stand in quotes, single or double, or are
/// plain words. A value may run over several lines. An entry without "= value" stands for itself. Of two entries with
/// one key, the later counts. What cannot be read is reported, and reading goes on at the line after the one where the
/// broken entry begins, so that it takes no other entry with it. Takes time in proportion to the bytes. Pure.
StringTable parseStringTable(const QByteArray &bytes);

/// The text of \p key, which may be empty; \p key itself when there is no such entry. Pure.
QString lookUp(const QHash<QString, QString> &entries, const QString &key);

/// \p format as a format that takes no arguments: "%%" becomes "%", and any other "%" is left as it stands. Pure.
QString formatWithoutArguments(const QString &format);

/// \p format with its placeholders filled: each "%@" takes the next argument, "%2$@" the second, and "%%" becomes "%".
/// A placeholder without an argument reads "(null)"; any other "%" is left as it stands. Pure.
QString formatWithArguments(const QString &format, const QStringList &arguments);

} // namespace kyb
