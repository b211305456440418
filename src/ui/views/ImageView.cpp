#include "ui/views/ImageView.h"

#include "ui/views/accessibility.h"
#include "ui/views/image_loading.h"

#include <QPaintEvent>
#include <QPainter>
#include <utility>

namespace kyb {

ImageView::ImageView(QWidget *parent) : QWidget(parent), WidgetControl(this) {
    installViewAccessibility();
}

void ImageView::setImage(const NamedImage &image) {
    awaitsFrame_ = false;
    setInitialImage(image);
}

void ImageView::setInitialImage(const NamedImage &image) {
    image_ = image;
    updateGeometry();
    update();
}

QSize ImageView::sizeHint() const {
    return imageSize(image_);
}

void ImageView::drawRect(QPainter &painter, const QRect &) {
    const QSize own = imageSize(image_);
    const bool fits = own.width() <= width() && own.height() <= height();
    const QSize shown = fits ? own : own.scaled(size(), Qt::KeepAspectRatio);
    const QPoint corner((width() - shown.width()) / 2, (height() - shown.height()) / 2);
    painter.drawPixmap(corner, bundlePixmap(image_.name, shown, devicePixelRatioF()));
}

void ImageView::paintEvent(QPaintEvent *event) {
    QPainter painter(this);
    drawRect(painter, event->rect());
}

void ImageView::resizeEvent(QResizeEvent *event) {
    QWidget::resizeEvent(event);
    if (std::exchange(awaitsFrame_, false)) {
        initWithFrame();
    }
}

} // namespace kyb
