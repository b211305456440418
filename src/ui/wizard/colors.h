#pragma once

#include <QColor>

namespace kyb {

/// \p a with a share of \p b, from 0 to 1, mixed in. Any thread.
QColor mixed(const QColor &a, const QColor &b, float shareOfB);

/// How well the two stand out from each other, from 1 (not at all) to 21 (black on white). Any thread.
double contrast(const QColor &a, const QColor &b);

/// \p color where it can be read on \p ground, with a contrast of 4.5 at least; else the same hue with its lightness
/// turned round, if that stands out better, and as much lighter or darker as it takes to be read. Any thread.
QColor readableColor(const QColor &color, const QColor &ground);

} // namespace kyb
