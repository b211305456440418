#include "ui/views/picture_shape.h"

#include <QBitmap>
#include <QGuiApplication>
#include <QWindow>

namespace kyb {

QRegion shapeOf(const QPixmap &picture) {
    const QSize points = picture.deviceIndependentSize().toSize();
    const QImage small = picture.toImage().scaled(points, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return {QBitmap::fromImage(small.createAlphaMask())};
}

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

} // namespace kyb
