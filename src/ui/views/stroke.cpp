#include "ui/views/stroke.h"

namespace kyb {

void strokeRect(QPainter &painter, const QRectF &rect, const QColor &color) {
    painter.save();
    painter.setPen(QPen(color, defaultLineWidth, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect);
    painter.restore();
}

} // namespace kyb
