#include "platform/posix/code_page_tables.h"

#include "platform/macos/cf_string.h"

#include <algorithm>

namespace kyb {
namespace {

constexpr qsizetype kLongestCharacterBytes = 4;

/// Nothing when \p bytes are not all of them whole characters.
std::optional<QString> wholeText(CFStringEncoding encoding, QByteArrayView bytes) {
    const auto *data = reinterpret_cast<const UInt8 *>(bytes.data());
    const CFOwned text(CFStringCreateWithBytes(kCFAllocatorDefault, data, bytes.size(), encoding, false));
    return text ? std::optional(fromCFString(text.get())) : std::nullopt;
}

/// Takes the first character of \p bytes off them; U+FFFD, and one byte, when they begin with none.
QString takeCharacter(CFStringEncoding encoding, QByteArrayView &bytes) {
    for (qsizetype size = 1; size <= std::min(kLongestCharacterBytes, bytes.size()); ++size) {
        if (const auto character = wholeText(encoding, bytes.first(size))) {
            bytes = bytes.sliced(size);
            return *character;
        }
    }
    bytes = bytes.sliced(1);
    return QChar(QChar::ReplacementCharacter);
}

} // namespace

std::optional<QString> decodedBySystem(int number, QByteArrayView bytes) {
    const CFStringEncoding encoding = CFStringConvertWindowsCodepageToEncoding(UInt32(number));
    if (encoding == kCFStringEncodingInvalidId) {
        return {};
    }
    // The system converts all or nothing, and does not say where it came to a stop.
    if (const auto text = wholeText(encoding, bytes)) {
        return text;
    }
    QString text;
    while (!bytes.isEmpty()) {
        text += takeCharacter(encoding, bytes);
    }
    return text;
}

} // namespace kyb
