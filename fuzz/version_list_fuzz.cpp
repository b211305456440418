// Version lists and version texts of any bytes: a version is one line's end, a good first line wins whatever follows,
// and numbers are read as the plain definition says.

#include "catalog/versions.h"
#include "promise.h"

#include <QByteArrayList>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace {

void requireSoundVersion(const QByteArray &list) {
    const std::optional<QString> version = kyb::availableVersion(list);
    if (!version) {
        return;
    }
    require(list.contains("Brelund Quorlix Driver=" + version->toUtf8()) ||
            version->contains(QChar::ReplacementCharacter) || list.contains("=" + version->toUtf8()));
    for (const QChar character : *version) {
        require(character != u'=' && character != u'\n' && character != u'\r' &&
                character != QChar::ParagraphSeparator && character != QChar::LineSeparator && character != u'\u0085');
    }
    require(kyb::availableVersion("Brelund Quorlix Driver=1.2\n" + list) == QStringLiteral("1.2"));
    // NB: a byte order mark is one at the beginning only.
    require(list.startsWith("\xEF\xBB\xBF") || kyb::availableVersion("Another=1.2\n" + list) == version);
}

/// The definition, digit by digit.
std::int32_t plainInteger(const QByteArray &text) {
    qsizetype at = 0;
    while (at < text.size() && (text[at] == ' ' || (text[at] >= '\t' && text[at] <= '\r'))) {
        ++at;
    }
    const bool isNegative = at < text.size() && text[at] == '-';
    at += at < text.size() && (text[at] == '-' || text[at] == '+') ? 1 : 0;
    constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();
    const std::uint64_t limit = isNegative ? kMost + 1 : kMost;
    std::uint64_t value = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        const auto digit = static_cast<std::uint64_t>(text[at] - '0');
        value = value > (limit - digit) / 10 ? limit : value * 10 + digit;
    }
    return static_cast<std::int32_t>(isNegative ? 0 - value : value);
}

void requireSoundNumbers(const QByteArray &bytes) {
    const QString text = QString::fromLatin1(bytes);
    require(kyb::integerValue(text) == plainInteger(bytes));
    const kyb::SystemVersion version = kyb::parseSystemVersion(text);
    const QByteArrayList pieces = bytes.split('.');
    require(version.major == plainInteger(pieces.value(0)) && version.minor == plainInteger(pieces.value(1)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    requireSoundVersion(bytes);
    requireSoundVersion("Brelund Quorlix Driver=" + bytes);
    requireSoundNumbers(bytes);
    return 0;
}
