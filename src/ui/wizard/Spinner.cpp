#include "ui/wizard/Spinner.h"

#include <QPainter>
#include <QStyle>
#include <QTimerEvent>

namespace kyb {
namespace {

constexpr int kSpokes = 12;
constexpr int kTurnMilliseconds = 960;
constexpr int kDiameter = 16;      // points
constexpr qreal kHalfSpoke = 0.75; // points, of its width
constexpr qreal kFaintest = 0.2;

} // namespace

Spinner::Spinner(QWidget *parent) : QWidget(parent), WidgetControl(this) {}

void Spinner::startAnimation() {
    timer_.start(kTurnMilliseconds / kSpokes, this);
}

void Spinner::stopAnimation() {
    timer_.stop();
}

QRect Spinner::wheel() const {
    return QStyle::alignedRect(layoutDirection(), Qt::AlignLeading | Qt::AlignVCenter, {kDiameter, kDiameter}, rect());
}

void Spinner::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(QRectF(wheel()).center());
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(foregroundRole()));
    for (int spoke = 0; spoke < kSpokes; ++spoke) {
        const int age = (step_ - spoke + kSpokes) % kSpokes;
        painter.setOpacity(qMax(kFaintest, 1.0 - qreal(age) / (kSpokes - 1)));
        painter.drawRoundedRect(QRectF(3.5, -kHalfSpoke, 4.5, 2 * kHalfSpoke), kHalfSpoke, kHalfSpoke);
        painter.rotate(360.0 / kSpokes);
    }
}

void Spinner::timerEvent(QTimerEvent *event) {
    if (event->timerId() != timer_.timerId()) {
        QWidget::timerEvent(event);
        return;
    }
    step_ = (step_ + 1) % kSpokes;
    update(wheel());
}

} // namespace kyb
