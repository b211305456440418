#pragma once

#include "ui/views/dragging.h"

#include <QObject>
#include <QPoint>
#include <QPointer>
#include <functional>

class QDrag;

namespace kyb {

/// Holds a drag to what its source allows where the pointer is. The toolkit offers one set of operations everywhere,
/// and under X11 any program may say that it takes a drop; so, while a boundary lives, a release over anything that the
/// source does not allow becomes a cancelled drag: that program is told that the drag has left, and never gets a drop.
///
/// Made right before the drag begins, by the one who waits for its end. Main thread.
class DragBoundary : public QObject {
    Q_OBJECT

public:
    using Allows = std::function<bool(DraggingContext)>;

    /// \param start where the pointer is, in points of the screen
    DragBoundary(QDrag *drag, QPoint start, Allows allows);

    /// Where the pointer was last seen, in points of the screen.
    QPoint lastPosition() const { return lastPosition_; }

    /// Whether the drag hovers over a view of this process that takes it.
    DraggingContext context() const;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QPointer<QDrag> drag_;
    QPoint lastPosition_;
    Allows allows_;
};

} // namespace kyb
