#include "platform/property_list.h"

#include "channel/plist_guard.h"
#include "posix/UniqueFd.h"

#include <QFile>
#include <QLocale>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <memory>
#include <plist/plist.h>
#include <string>
#include <sys/stat.h>

namespace kyb {
namespace {

constexpr std::size_t kMaxFileBytes = std::size_t{16} << 20;

struct PlistDeleter {
    void operator()(void *node) const { plist_free(node); }
};
using Plist = std::unique_ptr<void, PlistDeleter>;

/// The content of the regular file at \p path; nothing when there is none or it is too long.
std::optional<std::string> fileContent(const QString &path) {
    // NB: O_NONBLOCK, so that a FIFO at the path does not hold the caller.
    const UniqueFd file(open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat info {};
    if (!file || fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return {};
    }
    std::string content;
    std::string chunk(std::size_t{1} << 16, '\0');
    for (;;) {
        const ssize_t count = read(file.get(), chunk.data(), chunk.size());
        if (count == 0) {
            return content;
        }
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0 || content.size() + static_cast<std::size_t>(count) > kMaxFileBytes) {
            return {};
        }
        content.append(chunk, 0, static_cast<std::size_t>(count));
    }
}

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

std::optional<QString> textOf(plist_t node) {
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
        return {};
    }
}

} // namespace

std::optional<QString> propertyListValue(const QString &path, const QString &key) {
    const std::optional<std::string> content = fileContent(path);
    const Plist root = content ? parsed(*content) : nullptr;
    if (root == nullptr || plist_get_node_type(root.get()) != PLIST_DICT) {
        return {};
    }
    plist_t value = plist_dict_get_item(root.get(), key.toUtf8().constData());
    return value != nullptr ? textOf(value) : std::nullopt;
}

} // namespace kyb
