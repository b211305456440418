#include "ui/wizard/BorderBox.h"

#include <QPainter>

namespace kyb {
namespace {

constexpr qreal kWidth = 2; // points
constexpr qreal kRadius = 8;

QColor standardColor(Color color) {
    switch (color) {
    case Color::Red:
        return Qt::red;
    case Color::Black:
        return Qt::black;
    case Color::Clear:
    case Color::Standard:
        break;
    }
    return Qt::transparent;
}

} // namespace

BorderBox::BorderBox(QWidget *parent) : QWidget(parent), WidgetControl(this) {}

void BorderBox::setBorderColor(Color color) {
    borderColor_ = standardColor(color);
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
