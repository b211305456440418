#include "ui/wizard/InterfaceTranslator.h"

#include "text/localized_text.h"

#include <QCoreApplication>

namespace kyb {

void InterfaceTranslator::loadTable() {
    texts_ = localizedTable(QStringLiteral("Interface.strings"));
    QCoreApplication::installTranslator(this); // NB: an empty one would not be taken
}

QString InterfaceTranslator::translate(const char *, const char *sourceText, const char *, int) const {
    const QString key = QString::fromUtf8(sourceText);
    const auto found = texts_.constFind(key);
    if (found != texts_.cend()) {
        return *found;
    }
    // NB: the forward button's first title must be what the program compares it with.
    const QString text = localizedText(key);
    return text == key ? QString() : text;
}

} // namespace kyb
