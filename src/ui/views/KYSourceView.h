#pragma once

#include "ui/views/ImageView.h"
#include "ui/views/drag_session.h"

class QDrag;

/// The driver package's icon, to be dragged onto the destination. A press starts the drag at once; Space and Return
/// stand for the whole drag and drop. Main thread.
class KYSourceView : public kyb::ImageView {
    Q_OBJECT

public:
    explicit KYSourceView(QWidget *parent = nullptr);

    /// Starts a drag from \p position, in points of this view, and returns when the drag has ended. Ignored until the
    /// initialization is complete; before the terms are accepted it posts `TermsNotAcceptedNotification` instead.
    void mouseDown(QPoint position);

    /// The keyboard's way to drop the icon on the destination: the gates of `mouseDown`, then
    /// `PerformDragOperationNotification`.
    void performDragByKeyboard();

    /// Copy within the application, nothing outside of it.
    kyb::DragOperation sourceOperationMask(kyb::DraggingContext context) const;

    bool acceptsFirstResponder() const { return true; }
    bool acceptsFirstMouse() const { return true; } ///< a click that activates the window starts a drag, too

    bool animatesToStartingPositionsOnCancelOrFail() const { return true; }
    kyb::DraggingFormation draggingFormation() const { return kyb::DraggingFormation::None; }

protected:
    void drawRect(QPainter &painter, const QRect &dirty) override;
    void initWithFrame() override;
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    bool passesGates();
    void beginDraggingSession(QPoint position);
    QDrag *makeDrag(QPoint position);

    [[maybe_unused]] bool highlight_ = false; ///< nobody reads or writes it: the destination alone is highlighted
};
