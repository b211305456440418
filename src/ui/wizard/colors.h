#pragma once

#include <QColor>

namespace kyb {

/// \p a with a share of \p b, from 0 to 1, mixed in. Any thread.
QColor mixed(const QColor &a, const QColor &b, float shareOfB);

/// How well the two stand out from each other, from 1 (not at all) to 21 (black on white). Any thread.
double contrast(const QColor &a, const QColor &b);

/// \p color, or the same hue with its lightness turned round when that stands out better from a \p ground on which the
/// colour itself could hardly be read. Any thread.
QColor readableColor(const QColor &color, const QColor &ground);

} // namespace kyb
