#pragma once

#include "base/KYGlobalConstants.h"
#include "ui/views/WidgetControl.h"

#include <QWidget>

namespace kyb {

/// Shows a picture of the bundle, centred; one that is larger than the view is scaled down in proportion. Drawn anew
/// for the screen that the view is on, so it is crisp at every pixel ratio. A picture that is not there is not drawn.
/// Main thread.
class ImageView : public QWidget, public WidgetControl, public virtual Image {
    Q_OBJECT
    Q_PROPERTY(QString picture READ picture WRITE setPicture)

public:
    explicit ImageView(QWidget *parent = nullptr);

    void setImage(const NamedImage &image) override;
    const NamedImage &image() const { return image_; }

    // The picture that an interface description names, in its own size.
    void setPicture(const QString &name) { setImage({name, {}}); }
    QString picture() const { return image_.name; }

    QSize sizeHint() const override;

protected:
    /// Draws the part \p dirty of the view.
    virtual void drawRect(QPainter &painter, const QRect &dirty);

    /// Gives the view the picture of its class. Called again, once, when the view gets its frame, unless it has been
    /// given another picture by then: an interface description is read after the view was made.
    virtual void initWithFrame() {}

    /// As `setImage`, for the picture of the view's class.
    void setInitialImage(const NamedImage &image);

    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    NamedImage image_;
    bool awaitsFrame_ = true;
};

} // namespace kyb
