#include "ui/views/KYBackgroundView.h"

#include "base/KYGlobalConstants.h"
#include "text/localized_text.h"
#include "ui/views/image_loading.h"

#include <QPainter>
#include <utility>

namespace {

QString localizedName() {
    return kyb::localizedText(QStringLiteral("backgroundImage"));
}

} // namespace

KYBackgroundView::KYBackgroundView(QWidget *parent) : QWidget(parent) {
    initWithFrame();
}

void KYBackgroundView::initWithFrame() {
    backgroundImage = {localizedName(), size()};
}

void KYBackgroundView::resizeEvent(QResizeEvent *event) {
    QWidget::resizeEvent(event);
    if (std::exchange(awaitsFrame_, false)) { // an interface description gives the frame after the view was made
        initWithFrame();
    }
}

/// The picture's name, looked up anew; where colours are dark, that of its dark sister, if it has one.
QString KYBackgroundView::pictureName() const {
    const QString name = localizedName();
    const QString dark = kyb::nameWithSuffix(name, QStringLiteral("_dark"));
    const bool isDark =
        palette().color(QPalette::Window).lightness() < palette().color(QPalette::WindowText).lightness();
    return isDark && kyb::bundleHasImage(dark) ? dark : name;
}

void KYBackgroundView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setOpacity(1.0);
    const kyb::NamedImage picture{pictureName(), backgroundImage.size};
    const QPoint lowerLeft(0, height() - kyb::imageSize(picture).height());
    painter.drawPixmap(lowerLeft, kyb::bundlePixmap(picture.name, picture.size, devicePixelRatioF()));
}
