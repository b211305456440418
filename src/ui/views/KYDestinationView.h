#pragma once

#include "ui/views/ImageView.h"
#include "ui/views/drag_session.h"

#include <QStringList>

namespace kyb {

/// The width of every line that is stroked without a width of its own, in points. One for the whole process, as the
/// platform has it: who sets it, sets it for all later strokes. Main thread.
inline double defaultLineWidth = 1.0;

/// Strokes the outline of \p rect, with square corners, in the default line width. Main thread, while painting.
void strokeRect(QPainter &painter, const QRectF &rect, const QColor &color);

} // namespace kyb

/// Where the package's icon is to be dropped: takes the private drag type alone, is highlighted while such a drag
/// hovers over it, and posts `PerformDragOperationNotification` once for each drop. Main thread.
class KYDestinationView : public kyb::ImageView {
    Q_OBJECT

public:
    explicit KYDestinationView(QWidget *parent = nullptr);

    /// The drag types that it is registered for.
    QStringList registeredDraggedTypes() const;

    /// \return what the drag may do here, given the types on its pasteboard.
    kyb::DragOperation draggingEntered(const QStringList &types);
    void draggingExited();
    bool prepareForDragOperation();
    bool performDragOperation(const QObject *source); ///< \p source may be null: a drag of another process
    void concludeDragOperation();

    /// The frame of a zoomed \p window, in points of the screen: as large as `sourceIconImage` inside, its lower left
    /// corner where that of this view's own window is. The default frame is ignored.
    QRect windowWillUseStandardFrame(const QWidget &window, const QRect &defaultFrame) const;

    bool highlight() const { return highlight_; }

protected:
    void drawRect(QPainter &painter, const QRect &dirty) override;
    void initWithFrame() override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void setHighlight(bool highlight);
    bool takes(const QStringList &types) const;

    bool highlight_ = false;
};
