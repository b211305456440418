#pragma once

#include <QByteArrayView>
#include <QString>

namespace kyb {

/// Whether the font \p name shows signs in place of letters, in a way known here.
bool isSymbolFont(const QString &name);

/// What \p bytes show in the symbol font \p name, in characters that any font may have; signs that are not known are
/// bullets. Pure.
QString fromSymbols(const QString &name, QByteArrayView bytes);

} // namespace kyb
