#include "catalog/version_list.h"

#include "text/line_breaks.h"
#include "text/utf8.h"

namespace kyb {
namespace {

constexpr char16_t kProductPrefix[] = u"Brelund Quorlix Driver=";

} // namespace

std::optional<QString> availableVersion(const QByteArray &list) {
    const std::optional<QString> text = fromUtf8(list);
    if (!text) {
        return {};
    }
    for (const QStringView line : splitAtNewlines(*text)) {
        if (line.startsWith(QStringView(kProductPrefix))) {
            return line.sliced(line.lastIndexOf(u'=') + 1).toString();
        }
    }
    return {};
}

} // namespace kyb
