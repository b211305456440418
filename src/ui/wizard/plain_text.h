#pragma once

#include <QString>

namespace kyb {

/// The toolkit reads "&" in a title as the mark of a shortcut letter; the program's titles are shown as they stand. Any
/// thread.
inline QString withoutMnemonicMeaning(QString title) {
    return title.replace(u'&', QStringLiteral("&&"));
}

/// The title as it is shown: the inverse, which also takes away the mark of an interface description's own title.
inline QString withoutMnemonic(const QString &marked) {
    QString title;
    for (qsizetype at = 0; at < marked.size(); ++at) {
        if (marked[at] == u'&') {
            ++at; // the character that the mark stands before, or the second of two
        }
        if (at < marked.size()) {
            title += marked[at];
        }
    }
    return title;
}

} // namespace kyb
