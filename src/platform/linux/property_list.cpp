#include "platform/property_list.h"

#include "posix/Plist.h"
#include "posix/file_io.h"
#include "posix/plist_guard.h"

#include <QFile>
#include <QLocale>
#include <cstdint>

namespace kyb {
namespace {

Plist parsed(const std::string &content) {
    plist_t root = nullptr;
    if (isSafeForLibplist(content)) {
        plist_from_memory(content.data(), static_cast<std::uint32_t>(content.size()), &root);
    }
    return Plist(root);
}

QString textOfString(plist_t node) {
    std::uint64_t length = 0;
    const char *text = plist_get_string_ptr(node, &length);
    return QString::fromUtf8(text, static_cast<qsizetype>(length));
}

QString textOfInteger(plist_t node) {
    std::uint64_t value = 0;
    plist_get_uint_val(node, &value);
    return QString::number(static_cast<std::int64_t>(value)); // NB: libplist keeps a negative number so
}

QString textOfReal(plist_t node) {
    double value = 0;
    plist_get_real_val(node, &value);
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

QString textOf(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_STRING:
        return textOfString(node);
    case PLIST_UINT:
        return textOfInteger(node);
    case PLIST_REAL:
        return textOfReal(node);
    case PLIST_BOOLEAN:
        return plist_bool_val_is_true(node) != 0 ? QStringLiteral("true") : QStringLiteral("false");
    default:
        return QStringLiteral("");
    }
}

} // namespace

std::optional<QString> propertyListValue(const QString &path, const QString &key) {
    const std::string file = QFile::encodeName(path).toStdString();
    const std::optional<std::string> content = readAll(openRegularFile(file, O_RDONLY).get(), kMaxPropertyListBytes);
    const Plist root = content ? parsed(*content) : nullptr;
    if (root == nullptr || plist_get_node_type(root.get()) != PLIST_DICT) {
        return {};
    }
    plist_t value = plist_dict_get_item(root.get(), key.toUtf8().constData());
    return value != nullptr ? std::optional(textOf(value)) : std::nullopt;
}

} // namespace kyb
