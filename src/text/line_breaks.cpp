#include "text/line_breaks.h"

namespace kyb {

QVector<QStringView> splitAtNewlines(QStringView text) {
    QVector<QStringView> pieces;
    const char16_t *begin = text.utf16();
    const char16_t *const end = begin + text.size();
    for (;;) {
        const char16_t *const newline = findNewline(begin, end);
        pieces.append(QStringView(begin, newline));
        if (newline == end) {
            return pieces;
        }
        begin = newline + 1;
    }
}

} // namespace kyb
