#include "text/localized_text.h"

#include "platform/system_log.h"
#include "posix/Mutex.h"
#include "text/resources.h"
#include "text/string_table.h"

#include <QFile>

namespace kyb {
namespace {

QHash<QString, QString> readTable(const QString &path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const StringTable table = parseStringTable(file.readAll());
    for (const StringTableError &error : table.errors) {
        systemLog(QStringLiteral("%1:%2: %3").arg(path, QString::number(error.line), error.message));
    }
    return table.entries;
}

/// The bundle's string table, read when it is first asked for.
QHash<QString, QString> defaultTable() {
    static Mutex mutex;
    static QString readFrom GUARDED_BY(mutex);
    static QHash<QString, QString> entries GUARDED_BY(mutex);
    const QString path = resourcePath(QStringLiteral("Localizable.strings"));
    const MutexLock lock(mutex);
    if (path != readFrom) {
        entries = readTable(path);
        readFrom = path;
    }
    return entries;
}

} // namespace

QString localizedText(const QString &key) {
    return lookUp(defaultTable(), key);
}

QHash<QString, QString> localizedTable(const QString &fileName) {
    return readTable(resourcePath(fileName));
}

} // namespace kyb
