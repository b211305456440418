#include "ui/wizard/Label.h"

#include "ui/wizard/colors.h"
#include "ui/wizard/plain_text.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEvent>
#include <QMouseEvent>

namespace kyb {
namespace {

constexpr double kHeadlineScale = 1.5;

constexpr int kPaperMargin = 8; // points

/// How much of the ground shows through a secondary text: it recedes, and keeps a contrast of more than 4.5 to 1.
constexpr float kSecondaryGround = 0.3F;

QFont fontOf(Label::TextStyle style) {
    QFont font = QApplication::font("QLabel");
    if (style == Label::TextStyle::Headline) {
        font.setPointSizeF(font.pointSizeF() * kHeadlineScale);
    }
    if (style == Label::TextStyle::Headline || style == Label::TextStyle::Emphasis) {
        font.setWeight(QFont::DemiBold);
    }
    return font;
}

bool isDark(const QPalette &palette) {
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

} // namespace

Label::Label(QWidget *parent) : QLabel(parent), TextControl(this) {
    setTextFormat(Qt::PlainText);
}

void Label::setTextStyle(TextStyle style) {
    style_ = style;
    QLabel::setFont(fontOf(style));
    applyColor();
}

QString Label::text() const {
    return buddy() != nullptr ? withoutMnemonic(QLabel::text()) : QLabel::text();
}

void Label::setText(const QString &text) {
    QLabel::setText(buddy() != nullptr ? withoutMnemonicMeaning(text) : text);
    if (buddy() != nullptr) {
        buddy()->setAccessibleName(text);
    }
}

void Label::setTextColor(Color color) {
    color_ = color;
    applyColor();
}

void Label::applyColor() {
    const QPalette system = QApplication::palette(this);
    QPalette own;
    if (color_ == Color::Red) {
        own.setColor(QPalette::WindowText, readableColor(Qt::red, system.color(QPalette::Window)));
    } else if (color_ == Color::Black) {
        own.setColor(QPalette::WindowText, Qt::black);
        if (isDark(system)) {
            own.setColor(QPalette::Window, Qt::white);
        }
    } else if (color_ == Color::Clear) {
        own.setColor(QPalette::WindowText, Qt::transparent);
    } else if (style_ == TextStyle::Secondary) {
        own.setColor(QPalette::WindowText,
                     mixed(system.color(QPalette::WindowText), system.color(QPalette::Window), kSecondaryGround));
    }
    if (own != applied_) { // setting a palette is itself a change of palette
        applied_ = own;
        const bool isPaper = own.isBrushSet(QPalette::Active, QPalette::Window);
        setAutoFillBackground(isPaper);
        setMargin(isPaper ? kPaperMargin : 0);
        setPalette(own);
    }
}

void Label::changeEvent(QEvent *event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::ApplicationPaletteChange || event->type() == QEvent::PaletteChange) {
        applyColor();
    }
}

void Label::mousePressEvent(QMouseEvent *event) {
    QLabel::mousePressEvent(event);
    event->setAccepted(buddy() != nullptr);
}

void Label::mouseReleaseEvent(QMouseEvent *event) {
    QLabel::mouseReleaseEvent(event);
    auto *button = qobject_cast<QAbstractButton *>(buddy());
    if (button != nullptr && event->button() == Qt::LeftButton && rect().contains(event->position().toPoint())) {
        button->setFocus(Qt::MouseFocusReason);
        button->click();
    }
}

} // namespace kyb
