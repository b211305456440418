#include "ui/wizard/BareStyle.h"

#include "ui/wizard/colors.h"

#include <QPainter>
#include <QStyleOption>

namespace kyb {
namespace {

constexpr qreal kCornerRadius = 3;     // points
constexpr int kTitlePadding = 12;      // points, on either side of a title
constexpr float kOutlineGround = 0.4F; // how much of the ground shows through an outline
constexpr float kTroughGround = 0.82F;
constexpr qreal kDisabledOpacity = 0.5;
constexpr int kHoveredDarker = 108; // percent
constexpr int kPressedDarker = 125;

bool hasVisibleFocus(const QStyleOption &option) {
    return option.state.testFlag(QStyle::State_HasFocus) && option.state.testFlag(QStyle::State_KeyboardFocusChange);
}

QColor onGround(const QStyleOption &option, float shareOfGround) {
    return mixed(option.palette.color(QPalette::WindowText), option.palette.color(QPalette::Window), shareOfGround);
}

void drawTick(QPainter &painter, const QRectF &box, const QColor &color) {
    const auto at = [&box](qreal x, qreal y) { return box.topLeft() + QPointF(x * box.width(), y * box.height()); };
    painter.setPen(QPen(color, 1.75, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygonF{at(0.24, 0.53), at(0.43, 0.72), at(0.77, 0.30)});
}

void drawCheckBox(QPainter &painter, const QStyleOption &option) {
    const QColor accent = option.palette.color(QPalette::Active, QPalette::Highlight);
    const bool isOn = option.state.testFlag(QStyle::State_On);
    const bool isFocused = hasVisibleFocus(option);
    const QColor outline = isOn ? accent : onGround(option, kOutlineGround);
    const QRectF box = QRectF(option.rect).adjusted(1, 1, -1, -1);
    painter.setOpacity(option.state.testFlag(QStyle::State_Enabled) ? 1 : kDisabledOpacity);
    painter.setPen(isFocused ? QPen(option.palette.color(QPalette::WindowText), 2) : QPen(outline, 1));
    painter.setBrush(isOn ? accent : option.palette.color(QPalette::Base));
    painter.drawRoundedRect(box, kCornerRadius, kCornerRadius);
    if (isOn) {
        drawTick(painter, box, option.palette.color(QPalette::Active, QPalette::HighlightedText));
    }
}

void drawBar(QPainter &painter, const QStyleOptionProgressBar &option, const QColor &color, double share) {
    const QRectF whole = option.rect;
    QRectF bar = whole;
    bar.setWidth(qMax(whole.height(), whole.width() * share)); // as long as it is round at both ends
    if (option.direction == Qt::RightToLeft) {
        bar.moveRight(whole.right());
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawRoundedRect(bar, bar.height() / 2, bar.height() / 2);
}

double shareDone(const QStyleOptionProgressBar &option) {
    return double(option.progress - option.minimum) / qMax(1, option.maximum - option.minimum);
}

QColor accentOf(const QStyleOptionButton &button) {
    const QColor accent = button.palette.color(QPalette::Active, QPalette::Highlight);
    if (button.state.testFlag(QStyle::State_Sunken)) {
        return accent.darker(kPressedDarker);
    }
    return button.state.testFlag(QStyle::State_MouseOver) ? accent.darker(kHoveredDarker) : accent;
}

void drawAccentedBevel(QPainter &painter, const QStyleOptionButton &button) {
    const QRectF rect = QRectF(button.rect).adjusted(1, 1, -1, -1);
    painter.setPen(Qt::NoPen);
    painter.setBrush(accentOf(button));
    painter.drawRoundedRect(rect, kCornerRadius, kCornerRadius);
    if (hasVisibleFocus(button)) {
        painter.setPen(QPen(button.palette.color(QPalette::Active, QPalette::HighlightedText), 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(rect.adjusted(2.5, 2.5, -2.5, -2.5), kCornerRadius - 1, kCornerRadius - 1);
    }
}

bool isEnabledDefault(const QStyleOptionButton *option) {
    return option != nullptr && option->features.testFlag(QStyleOptionButton::DefaultButton) &&
           option->state.testFlag(QStyle::State_Enabled);
}

} // namespace

BareStyle::BareStyle() : QProxyStyle(QStringLiteral("fusion")) {}

void BareStyle::drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                            const QWidget *widget) const {
    const auto *button = qstyleoption_cast<const QStyleOptionButton *>(option);
    const auto *bar = qstyleoption_cast<const QStyleOptionProgressBar *>(option);
    painter->save();
    if (element == CE_PushButton && isEnabledDefault(button)) {
        QStyleOptionButton label = *button;
        label.palette.setColor(QPalette::ButtonText,
                               button->palette.color(QPalette::Active, QPalette::HighlightedText));
        painter->setRenderHint(QPainter::Antialiasing);
        drawAccentedBevel(*painter, *button);
        QProxyStyle::drawControl(CE_PushButtonLabel, &label, painter, widget);
    } else if (element == CE_ProgressBarGroove && bar != nullptr) {
        drawBar(*painter, *bar, onGround(*bar, kTroughGround), 1);
    } else if (element == CE_ProgressBarContents && bar != nullptr) {
        if (bar->progress > bar->minimum) {
            drawBar(*painter, *bar, bar->palette.color(QPalette::Highlight), shareDone(*bar));
        }
    } else {
        QProxyStyle::drawControl(element, option, painter, widget);
    }
    painter->restore();
}

void BareStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                              const QWidget *widget) const {
    if (element != PE_IndicatorCheckBox) {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    drawCheckBox(*painter, *option);
    painter->restore();
}

QSize BareStyle::sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &contents,
                                  const QWidget *widget) const {
    const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
    return type == CT_PushButton ? size.grownBy({kTitlePadding, 0, kTitlePadding, 0}) : size;
}

} // namespace kyb
