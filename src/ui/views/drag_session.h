#pragma once

#include <QObject>
#include <QPixmap>
#include <QPointer>
#include <functional>

class QDrag;
class QWidget;

namespace kyb {

/// What a drag may do with what it drags; the platform's values, which are the toolkit's as well.
enum class DragOperation { None = 0, Copy = 1 };

/// Where the drag hovers: over a window of this process, or over anything else.
enum class DraggingContext { OutsideApplication = 0, WithinApplication = 1 };

/// How several dragged items are laid out under the pointer. None: they keep their places.
enum class DraggingFormation { None = 1 };

/// One drag, held to what its source allows where the pointer is. The toolkit offers one set of operations everywhere,
/// and under X11 any program may say that it takes a drop; so, while a session lives, a release over anything that the
/// source does not allow becomes a cancelled drag: that program is told that the drag has left, and never gets a drop.
///
/// Why not refuse while the pointer moves: nothing is wrong before the release, and the toolkit takes its operations
/// once, when the drag begins. Why a filter: the release is the last moment at which a drag can be cancelled, and only
/// who sees the event before the drag does comes in time.
///
/// Where the system carries the drag (platform/drag.h) nothing of this can be done: another program that takes the type
/// gets the drop, which is empty.
///
/// Made right before the drag begins, by the one who waits for its end.
/// Main thread.
class DragSession : public QObject {
    Q_OBJECT

public:
    using OperationMask = std::function<DragOperation(DraggingContext)>;

    /// \param drag the toolkit deletes it, some time after it has ended
    /// \param start where the pointer is, in points of the screen
    DragSession(QDrag *drag, QPoint start, OperationMask mask);

    enum class End { Dropped, CancelledOrFailed };

    /// Drags, and returns when the drag has ended. What a drop sets going may take the source away.
    End run();

    /// What a drag has come to, given what was done with it, and where: a drop on another program is none.
    static End endOf(DragOperation done, DraggingContext where);

    /// Where the pointer was last seen, in points of the screen.
    QPoint lastPosition() const { return lastPosition_; }

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    DraggingContext context() const;

    QPointer<QDrag> drag_;
    QPoint lastPosition_;
    OperationMask mask_;
};

/// Lets \p picture glide from \p start, its upper left corner in points of the screen, back to where \p view is.
/// Returns at once. Nothing is shown when the picture has hardly left its place (a click), when there is no picture,
/// when the user wants no animations, or where the system has done it. Main thread.
void slideBack(const QWidget &view, const QPixmap &picture, QPoint start);

} // namespace kyb
