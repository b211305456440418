#pragma once

#include "ui/views/WidgetControl.h"

#include <QLabel>
#include <QPalette>

namespace kyb {

/// A text of the interface: always plain, so neither markup nor a mnemonic is seen in it. A label with a buddy stands
/// for the button that it describes: a click on the text is a click on the button, and the text is what a screen reader
/// calls the button. Main thread.
class Label : public QLabel, public TextControl {
    Q_OBJECT
    Q_PROPERTY(TextStyle textStyle READ textStyle WRITE setTextStyle)

public:
    enum class TextStyle { Body, Headline, Emphasis, Secondary };
    Q_ENUM(TextStyle)

    explicit Label(QWidget *parent = nullptr);

    TextStyle textStyle() const { return style_; }
    void setTextStyle(TextStyle style);

    QString text() const override; ///< as it is shown
    void setText(const QString &text) override;
    /// Black is shown on paper when the appearance is dark, red in a shade that can be read.
    void setTextColor(Color color) override;

protected:
    void changeEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void applyColor();

    TextStyle style_ = TextStyle::Body;
    Color color_ = Color::Standard;
    QPalette applied_;
};

} // namespace kyb
