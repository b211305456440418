#include "platform/macos/cf_string.h"

namespace kyb {

CFOwned<CFStringRef> toCFString(const QString &text) {
    const auto *characters = reinterpret_cast<const UniChar *>(text.utf16());
    return CFOwned(CFStringCreateWithCharacters(kCFAllocatorDefault, characters, text.size()));
}

QString fromCFString(CFStringRef string) {
    if (string == nullptr) {
        return QString();
    }
    QString text(CFStringGetLength(string), Qt::Uninitialized);
    CFStringGetCharacters(string, CFRangeMake(0, text.size()), reinterpret_cast<UniChar *>(text.data()));
    return text;
}

} // namespace kyb
