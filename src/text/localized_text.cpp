#include "text/localized_text.h"

#include "platform/system_log.h"
#include "posix/Mutex.h"
#include "posix/file_io.h"
#include "text/resources.h"
#include "text/string_table.h"

#include <QFile>

namespace kyb {
namespace {

constexpr std::size_t kMaxTableBytes = std::size_t{16} << 20;

/// NB: nothing here may ask for a text, as the toolkit's errors do: `defaultTable` holds its lock.
QHash<QString, QString> readTable(const QString &path) {
    const UniqueFd file = openRegularFile(QFile::encodeName(path).toStdString(), O_RDONLY);
    const std::optional<std::string> content = readAll(file.get(), kMaxTableBytes);
    if (!content) {
        return {};
    }
    const StringTable table = parseStringTable(QByteArray::fromStdString(*content));
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
