#pragma once

#include "ui/views/WidgetControl.h"

#include <QColor>
#include <QWidget>

namespace kyb {

/// A box with a rounded border, clear until it is given a colour. It has no title. Main thread.
class BorderBox : public QWidget, public WidgetControl, public virtual Box {
    Q_OBJECT

public:
    explicit BorderBox(QWidget *parent = nullptr);

    QColor borderColor() const { return borderColor_; }
    void setBorderColor(Color color) override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor borderColor_ = Qt::transparent;
};

} // namespace kyb
