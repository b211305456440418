#include "platform/code_pages.h"

#include "platform/posix/code_page_tables.h"

#include <algorithm>

namespace kyb {
namespace {

constexpr char16_t kLastOfAscii = 0x7F;
constexpr char16_t kLastControl = 0x9F;
constexpr char16_t kLastOfBytes = 0xFF;

bool isAscii(QByteArrayView bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](char byte) { return quint8(byte) <= kLastOfAscii; });
}

/// Nothing when the system has no page \p number, or one in which ASCII does not stay what it is.
std::optional<QString> decoded(int number, QByteArrayView bytes) {
    // Of EBCDIC and UTF-16 these make something else; of UTF-7 the letter a; of ASCII's national kinds other signs.
    constexpr char kProbe[] = "+AGE-\x01\x0E\x1B\x1F !\"#$'@[\\]^_`{|}~";
    const std::optional<QString> text = decodedBySystem(number, QByteArray(kProbe).append(bytes));
    return text && text->startsWith(QLatin1String(kProbe)) ? std::optional(text->sliced(sizeof kProbe - 1))
                                                           : std::nullopt;
}

} // namespace

QString fromCodePage(int number, QByteArrayView bytes) {
    QString text = QString::fromLatin1(bytes);
    if (isAscii(bytes)) {
        return text; // most of what is ever asked
    }
    const std::optional<QString> known = decoded(number, bytes);
    text = known.value_or(text);
    const char16_t lastOfNothing = known ? kLastControl : kLastOfBytes;
    const auto isNothing = [=](QChar unit) { return unit > kLastOfAscii && unit <= lastOfNothing; };
    std::replace_if(text.begin(), text.end(), isNothing, QChar(QChar::ReplacementCharacter));
    return text;
}

} // namespace kyb
