#include "ui/views/KYSourceView.h"

#include "base/notification_center.h"
#include "text/localized_text.h"
#include "ui/views/image_loading.h"

#include <QAccessible>
#include <QDrag>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>

using kyb::DraggingContext;
using kyb::DragOperation;

namespace {

constexpr double kFocusRingPoints = 3.0;
constexpr double kFocusRingRadiusPoints = 6.0;

/// What the pasteboard gets: a type, and never any data. The destination looks at the type alone.
///
/// NB: not of a class of our own that gives no data whatever it is asked for. On macOS the toolkit adds a mark to what
/// is dragged and looks for it again; without the mark no window of the program learns of a drag of a type like ours.
QMimeData *typeWithoutData() {
    auto *type = new QMimeData;
    type->setData(QString::fromLatin1(kPrivateDragObject), QByteArray());
    return type;
}

bool isActivation(const QKeyEvent &event) {
    const int key = event.key();
    return !event.isAutoRepeat() && (key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter);
}

} // namespace

KYSourceView::KYSourceView(QWidget *parent) : ImageView(parent) {
    setFocusPolicy(acceptsFirstResponder() ? Qt::StrongFocus : Qt::NoFocus);
    setAccessibleName(kyb::localizedText(QStringLiteral("SourceIconName")));
    KYSourceView::initWithFrame();
}

void KYSourceView::initWithFrame() {
    setInitialImage({QStringLiteral("Alert.icns"), size()});
    sourceIconImage = image();
}

bool KYSourceView::passesGates() {
    if (!isInitializationComplete) {
        return false;
    }
    if (!isTermsAndConditionsAccepted) {
        kyb::postNotification(TermsNotAcceptedNotification);
        QAccessibleEvent whatIsMissing(this, QAccessible::DescriptionChanged); // to who does not see the red border
        QAccessible::updateAccessibility(&whatIsMissing);
        return false;
    }
    return true;
}

void KYSourceView::mouseDown(QPoint position) {
    if (passesGates()) {
        beginDraggingSession(position);
    }
}

void KYSourceView::performDragByKeyboard() {
    if (passesGates()) {
        kyb::postNotification(PerformDragOperationNotification);
    }
}

DragOperation KYSourceView::sourceOperationMask(DraggingContext context) const {
    return context == DraggingContext::WithinApplication ? DragOperation::Copy : DragOperation::None;
}

QDrag *KYSourceView::makeDrag(QPoint position) {
    auto *drag = new QDrag(this); // deleted by the toolkit, some time after the drag
    drag->setMimeData(typeWithoutData());
    drag->setPixmap(kyb::bundlePixmap(sourceIconImage.name, size(), devicePixelRatioF()));
    drag->setHotSpot(position);
    return drag;
}

void KYSourceView::beginDraggingSession(QPoint position) {
    const QPointer<KYSourceView> self(this); // what a drop sets going may take the screen away
    QDrag *drag = makeDrag(position);
    const QPixmap picture = drag->pixmap();
    kyb::DragSession session(drag, mapToGlobal(position),
                             [this](DraggingContext context) { return sourceOperationMask(context); });
    const bool isCancelled = session.run() == kyb::DragSession::End::CancelledOrFailed;
    if (self && isCancelled && animatesToStartingPositionsOnCancelOrFail()) {
        kyb::slideBack(*this, picture, session.lastPosition() - position);
    }
}

void KYSourceView::mousePressEvent(QMouseEvent *event) {
    event->accept();
    if (event->button() == Qt::LeftButton) {
        mouseDown(event->position().toPoint());
    }
}

void KYSourceView::keyPressEvent(QKeyEvent *event) {
    if (isActivation(*event)) {
        performDragByKeyboard();
    } else {
        ImageView::keyPressEvent(event);
    }
}

void KYSourceView::drawRect(QPainter &painter, const QRect &dirty) {
    ImageView::drawRect(painter, dirty);
    if (!hasFocus()) {
        return;
    }
    constexpr double inset = kFocusRingPoints / 2;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().color(QPalette::Highlight), kFocusRingPoints));
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), kFocusRingRadiusPoints,
                            kFocusRingRadiusPoints);
}
