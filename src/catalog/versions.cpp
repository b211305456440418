#include "catalog/versions.h"

#include "text/line_breaks.h"
#include "text/utf8.h"

#include <QList>
#include <cstdlib>

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

SystemVersion parseSystemVersion(QStringView productVersion) {
    const QList<QStringView> pieces = productVersion.split(u'.');
    SystemVersion version;
    version.major = integerValue(pieces.value(0));
    version.minor = integerValue(pieces.value(1));
    return version;
}

std::int32_t integerValue(QStringView text) {
    // NB: the cut to 32 bits is part of what the number means: 4294967297 reads as 1.
    return static_cast<std::int32_t>(std::strtoll(text.toLatin1().constData(), nullptr, 10));
}

} // namespace kyb
