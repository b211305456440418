// String tables of any bytes: every broken entry is reported, in order, and none takes the entry after it along.

#include "promise.h"
#include "text/string_table.h"

#include <cstddef>
#include <cstdint>

namespace {

void requireInOrder(const QVector<kyb::StringTableError> &errors, qsizetype lines) {
    int last = 0;
    for (const kyb::StringTableError &error : errors) {
        require(error.line >= 1 && error.line <= lines && !error.message.isEmpty());
        if (error.message.contains(QStringLiteral("byte"))) {
            continue; // of the whole table: comes first
        }
        require(error.line > last);
        last = error.line;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const kyb::StringTable table = kyb::parseStringTable(bytes);
    requireInOrder(table.errors, bytes.count('\n') + bytes.count('\r') + 1);
    for (const QString &value : table.entries) {
        require(kyb::formatWithoutArguments(value).size() <= value.size());
        kyb::formatWithArguments(value, {value});
    }
    return 0;
}
