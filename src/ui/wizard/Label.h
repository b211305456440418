#pragma once

#include "controller/outlet.h"

#include <QLabel>
#include <QPalette>

namespace kyb {

/// A text of the interface: always plain, so neither markup nor a mnemonic is seen in it. A label with a buddy stands
/// for the button that it describes: a click on the text is a click on the button.
class Label : public QLabel {
    Q_OBJECT
    Q_PROPERTY(TextStyle textStyle READ textStyle WRITE setTextStyle)

public:
    enum class TextStyle { Body, Headline, Emphasis, Secondary };
    Q_ENUM(TextStyle)

    explicit Label(QWidget *parent = nullptr);

    TextStyle textStyle() const { return style_; }
    void setTextStyle(TextStyle style);

    /// The text as it is shown.
    QString plainText() const;
    void setPlainText(const QString &text);

    /// Black is shown on paper when the appearance is dark.
    void setTextColor(Color color);

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
