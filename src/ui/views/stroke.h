#pragma once

#include <QColor>
#include <QPainter>
#include <QRectF>

namespace kyb {

/// The width of every line that is stroked without a width of its own, in points. One for the whole process, as the
/// platform has it: who sets it, sets it for all later strokes. Main thread.
inline double defaultLineWidth = 1.0;

/// Strokes the outline of \p rect, with square corners, in the default line width. Main thread, while painting.
void strokeRect(QPainter &painter, const QRectF &rect, const QColor &color);

} // namespace kyb
