#include "ui/views/DragBoundary.h"

#include "base/threads.h"

#include <QCoreApplication>
#include <QDrag>
#include <QMouseEvent>
#include <utility>

namespace kyb {

DragBoundary::DragBoundary(QDrag *drag, QPoint start, Allows allows)
    : drag_(drag), lastPosition_(start), allows_(std::move(allows)) {
    // NB: not at once. The filter installed last is asked first, and the drag installs its own when it begins.
    onMainThread([self = QPointer<DragBoundary>(this)] {
        if (self) {
            QCoreApplication::instance()->installEventFilter(self);
        }
    });
}

DraggingContext DragBoundary::context() const {
    // NB: not by the window under the pointer, which is the one that shows the dragged picture.
    const bool isTaken = drag_ && drag_->target() != nullptr;
    return isTaken ? DraggingContext::WithinApplication : DraggingContext::OutsideApplication;
}

bool DragBoundary::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::MouseMove || event->type() == QEvent::MouseButtonRelease) {
        lastPosition_ = static_cast<QMouseEvent *>(event)->globalPosition().toPoint();
    }
    if (event->type() == QEvent::MouseButtonRelease && !allows_(context())) {
        QDrag::cancel();
    }
    return QObject::eventFilter(watched, event); // the drag itself ends on the release, cancelled or not
}

} // namespace kyb
