#include "ui/views/KYDestinationView.h"

#include "base/notification_center.h"
#include "text/localized_text.h"
#include "ui/views/image_loading.h"

#include <QDragEnterEvent>
#include <QMimeData>
#include <QPainter>
#include <algorithm>

using kyb::DragOperation;

namespace {

constexpr double kHighlightPoints = 5.0;
constexpr QColor kGray{128, 128, 128};

/// The frame around \p content of a window that is decorated as \p window is.
QRect frameRectForContentRect(const QRect &content, const QWidget &window) {
    const QRect inner = window.geometry();
    const QRect outer = window.frameGeometry();
    return content.adjusted(outer.left() - inner.left(), outer.top() - inner.top(), outer.right() - inner.right(),
                            outer.bottom() - inner.bottom());
}

void answer(QDropEvent *event, DragOperation operation) {
    event->setDropAction(Qt::DropAction(operation));
    event->setAccepted(operation != DragOperation::None);
}

} // namespace

void kyb::strokeRect(QPainter &painter, const QRectF &rect, const QColor &color) {
    painter.save();
    painter.setPen(QPen(color, defaultLineWidth, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect);
    painter.restore();
}

KYDestinationView::KYDestinationView(QWidget *parent) : ImageView(parent) {
    setAcceptDrops(true);
    setAccessibleName(kyb::localizedText(QStringLiteral("DestinationIconName")));
    setAccessibleDescription(kyb::localizedText(QStringLiteral("DestinationIconHelp")));
    KYDestinationView::initWithFrame();
}

void KYDestinationView::initWithFrame() {
    setInitialImage({QStringLiteral("DestinationIcon.png"), size()});
}

QStringList KYDestinationView::registeredDraggedTypes() const {
    return {QString::fromLatin1(kPrivateDragObject)};
}

bool KYDestinationView::takes(const QStringList &types) const {
    const QStringList mine = registeredDraggedTypes();
    return std::any_of(mine.begin(), mine.end(), [&](const QString &type) { return types.contains(type); });
}

void KYDestinationView::setHighlight(bool highlight) {
    highlight_ = highlight;
    update();
}

DragOperation KYDestinationView::draggingEntered(const QStringList &types) {
    if (!takes(types)) {
        return DragOperation::None;
    }
    setHighlight(true);
    return DragOperation::Copy;
}

void KYDestinationView::draggingExited() {
    setHighlight(false);
}

bool KYDestinationView::prepareForDragOperation() {
    setHighlight(false);
    return true;
}

bool KYDestinationView::performDragOperation(const QObject *source) {
    if (source != this) {
        kyb::postNotification(PerformDragOperationNotification);
    }
    return true;
}

void KYDestinationView::concludeDragOperation() {
    update();
}

void KYDestinationView::dragEnterEvent(QDragEnterEvent *event) {
    answer(event, draggingEntered(event->mimeData()->formats()));
}

void KYDestinationView::dragMoveEvent(QDragMoveEvent *event) {
    answer(event, takes(event->mimeData()->formats()) ? DragOperation::Copy : DragOperation::None);
}

void KYDestinationView::dragLeaveEvent(QDragLeaveEvent *) {
    draggingExited();
}

void KYDestinationView::dropEvent(QDropEvent *event) {
    if (!takes(event->mimeData()->formats())) {
        answer(event, DragOperation::None);
        return;
    }
    const bool isDone = prepareForDragOperation() && performDragOperation(event->source());
    answer(event, isDone ? DragOperation::Copy : DragOperation::None);
    concludeDragOperation();
}

void KYDestinationView::drawRect(QPainter &painter, const QRect &dirty) {
    ImageView::drawRect(painter, dirty);
    if (highlight_) {
        kyb::defaultLineWidth = kHighlightPoints; // NB: for the whole process, and it stays
        kyb::strokeRect(painter, dirty, kGray);   // NB: what is redrawn, not the bounds
    }
}

QRect KYDestinationView::windowWillUseStandardFrame(const QWidget &window, const QRect &) const {
    const QRect own = parentWidget() != nullptr ? QWidget::window()->frameGeometry() : QRect();
    const QSize size = kyb::imageSize(sourceIconImage);
    const QRect content(QPoint(own.x(), own.y() + own.height() - size.height()), size);
    return frameRectForContentRect(content, window);
}
