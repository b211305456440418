#include "ui/wizard/BorderBox.h"

#include <QPainter>

namespace kyb {
namespace {

constexpr qreal kWidth = 2; // points
constexpr qreal kRadius = 8;

} // namespace

void BorderBox::setBorderColor(const QColor &color) {
    borderColor_ = color;
    update();
}

void BorderBox::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(borderColor_, kWidth));
    constexpr qreal inset = kWidth / 2;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), kRadius, kRadius);
}

} // namespace kyb
