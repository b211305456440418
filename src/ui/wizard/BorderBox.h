#pragma once

#include <QColor>
#include <QWidget>

namespace kyb {

/// A box with a rounded border, clear until it is given a colour.
class BorderBox : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

    QColor borderColor() const { return borderColor_; }
    void setBorderColor(const QColor &color);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor borderColor_ = Qt::transparent;
};

} // namespace kyb
