#include "ui/views/drag_session.h"

#include "base/threads.h"
#include "platform/drag.h"

#include <QApplication>
#include <QBitmap>
#include <QDrag>
#include <QLabel>
#include <QMouseEvent>
#include <QPropertyAnimation>
#include <QStyle>
#include <QWindow>
#include <algorithm>
#include <utility>

namespace kyb {
namespace {

constexpr int kSlideMilliseconds = 250;

constexpr int kFaintAlpha = 24; ///< of 255: what is as clear as this is hardly seen

/// The part of the picture that is seen, in points. Without a compositor a translucent window is not clear where it
/// should be; a shape is right everywhere.
///
/// Why not the part that is more opaque than clear: cut there, the soft edges become steps. As they are, they run out
/// into the ground that the window is painted with, which is much like what they pass over.
QRegion shapeOf(const QPixmap &picture) {
    const QSize points = picture.deviceIndependentSize().toSize();
    QImage seen = picture.toImage()
                      .scaled(points, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                      .convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < seen.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(seen.scanLine(y));
        std::transform(row, row + seen.width(), row,
                       [](QRgb pixel) { return qAlpha(pixel) > kFaintAlpha ? qRgb(0, 0, 0) : qRgba(0, 0, 0, 0); });
    }
    return {QBitmap::fromImage(seen.createAlphaMask())};
}

/// Shapes the window under the pointer that shows the dragged picture, if the toolkit uses one (under X11).
void shapeDragWindow(const QPixmap &picture) {
    if (picture.isNull()) {
        return;
    }
    const auto windows = QGuiApplication::allWindows();
    for (QWindow *window : windows) {
        // NB: the toolkit paints this window to be shaped, and then leaves it a rectangle.
        if (window->inherits("QShapedPixmapWindow")) {
            window->setMask(shapeOf(picture));
        }
    }
}

bool wantsAnimations(const QWidget &view) {
    return view.style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, &view) > 0;
}

QWidget *makeGhost(const QPixmap &picture) {
    auto *ghost = new QLabel(nullptr, Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowTransparentForInput |
                                          Qt::WindowDoesNotAcceptFocus | Qt::BypassWindowManagerHint |
                                          Qt::NoDropShadowWindowHint);
    ghost->setObjectName(QStringLiteral("slideBack"));
    ghost->setAttribute(Qt::WA_ShowWithoutActivating);
    ghost->setAttribute(Qt::WA_DeleteOnClose);
    ghost->setPixmap(picture);
    ghost->resize(picture.deviceIndependentSize().toSize());
    ghost->setMask(shapeOf(picture));
    return ghost;
}

} // namespace

DragSession::DragSession(QDrag *drag, QPoint start, OperationMask mask)
    : drag_(drag), lastPosition_(start), mask_(std::move(mask)) {
    if (systemCarriesDrags()) {
        return; // what it gives away of the mouse comes when all is over
    }
    // NB: not at once. The filter installed last is asked first, and the drag installs its own when it begins.
    onMainThread([self = QPointer<DragSession>(this)] {
        if (self) {
            QCoreApplication::instance()->installEventFilter(self);
        }
    });
}

DragSession::End DragSession::run() {
    onMainThread([picture = drag_->pixmap()] { shapeDragWindow(picture); }); // when the drag has begun
    const auto done = drag_->exec(Qt::DropAction(mask_(DraggingContext::WithinApplication)));
    return endOf(DragOperation(done), context());
}

DragSession::End DragSession::endOf(DragOperation done, DraggingContext where) {
    const bool isDropped = done != DragOperation::None && where == DraggingContext::WithinApplication;
    return isDropped ? End::Dropped : End::CancelledOrFailed;
}

DraggingContext DragSession::context() const {
    // NB: not by the window under the pointer, which is the one that shows the dragged picture.
    const bool isTaken = drag_ && drag_->target() != nullptr;
    return isTaken ? DraggingContext::WithinApplication : DraggingContext::OutsideApplication;
}

bool DragSession::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::MouseMove || event->type() == QEvent::MouseButtonRelease) {
        lastPosition_ = static_cast<QMouseEvent *>(event)->globalPosition().toPoint();
    }
    if (event->type() == QEvent::MouseButtonRelease && mask_(context()) == DragOperation::None) {
        QDrag::cancel();
    }
    return QObject::eventFilter(watched, event); // the drag itself ends on the release, cancelled or not
}

void slideBack(const QWidget &view, const QPixmap &picture, QPoint start) {
    const QPoint home = view.mapToGlobal(QPoint(0, 0));
    const bool isClick = (start - home).manhattanLength() < QApplication::startDragDistance();
    if (systemCarriesDrags() || isClick || picture.isNull() || !view.isVisible() || !wantsAnimations(view)) {
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
