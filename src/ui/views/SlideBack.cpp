#include "ui/views/SlideBack.h"

#include "ui/views/picture_shape.h"

#include <QApplication>
#include <QLabel>
#include <QPropertyAnimation>
#include <QStyle>

namespace kyb {
namespace {

constexpr int kSlideMilliseconds = 250;

bool wantsAnimations(const QWidget &view) {
    return view.style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, &view) > 0;
}

QWidget *makeGhost(const QPixmap &picture) {
    auto *ghost = new QLabel(nullptr, Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowTransparentForInput |
                                          Qt::WindowDoesNotAcceptFocus | Qt::BypassWindowManagerHint |
                                          Qt::NoDropShadowWindowHint);
    ghost->setObjectName(QStringLiteral("slideBack"));
    ghost->setAttribute(Qt::WA_TranslucentBackground);
    ghost->setAttribute(Qt::WA_ShowWithoutActivating);
    ghost->setAttribute(Qt::WA_DeleteOnClose);
    ghost->setPixmap(picture);
    ghost->resize(picture.deviceIndependentSize().toSize());
    ghost->setMask(shapeOf(picture));
    return ghost;
}

} // namespace

void slideBack(const QWidget &view, const QPixmap &picture, QPoint start) {
    const QPoint home = view.mapToGlobal(QPoint(0, 0));
    const bool isClick = (start - home).manhattanLength() < QApplication::startDragDistance();
    if (isClick || picture.isNull() || !view.isVisible() || !wantsAnimations(view)) {
        return;
    }
    QWidget *ghost = makeGhost(picture);
    ghost->move(start);
    ghost->show();
    auto *slide = new QPropertyAnimation(ghost, "pos", ghost);
    slide->setDuration(kSlideMilliseconds);
    slide->setStartValue(start);
    slide->setEndValue(home);
    slide->setEasingCurve(QEasingCurve::OutCubic);
    QObject::connect(slide, &QPropertyAnimation::finished, ghost, &QWidget::close);
    slide->start();
}

} // namespace kyb
