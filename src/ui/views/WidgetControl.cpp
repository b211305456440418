#include "ui/views/WidgetControl.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFontDatabase>
#include <QGridLayout>
#include <QWidget>
#include <utility>

namespace kyb {
namespace {

/// The name of the property by which a screen names the control that has the focus when it comes.
constexpr char kInitialFocus[] = "initialFocus";

QGridLayout &stackOf(QWidget &box) {
    if (auto *stack = qobject_cast<QGridLayout *>(box.layout())) {
        return *stack;
    }
    return *new QGridLayout(&box);
}

} // namespace

void focusFirstControl(QWidget &screen) {
    const QString name = screen.property(kInitialFocus).toString();
    QWidget *first = name.isEmpty() ? nullptr : screen.findChild<QWidget *>(name);
    (first != nullptr ? first : &screen)->setFocus(); // NB: the screen itself: no ring to be seen, and Tab leads on
}

void WidgetControl::setEnabled(bool enabled) {
    widget_.setEnabled(enabled);
}

bool WidgetControl::isEnabled() const {
    return widget_.isEnabled();
}

void WidgetControl::setHidden(bool hidden) {
    setReason(hidden_, hidden);
}

bool WidgetControl::isVisible() const {
    return widget_.isVisibleTo(widget_.window());
}

void WidgetControl::setTransparent(bool transparent) {
    setReason(transparent_, transparent);
}

/// What is not drawn is hidden from mouse, keyboard and screen readers as well, but goes on taking its room.
void WidgetControl::setReason(bool &reason, bool holds) {
    if (!std::exchange(isDescriptionRead_, true)) {
        hidden_ = widget_.isHidden() && widget_.testAttribute(Qt::WA_WState_ExplicitShowHide);
    }
    reason = holds;
    const bool isThere = !hidden_ && !removed_;
    QSizePolicy policy = widget_.sizePolicy();
    policy.setRetainSizeWhenHidden(transparent_ && isThere);
    widget_.setSizePolicy(policy);
    widget_.setVisible(!transparent_ && isThere);
}

/// What is not shown leaves its place to what stands behind it, which is then drawn there.
void WidgetControl::displayNow() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest); // what has just come has no place yet
    QWidget *drawn = &widget_;
    QRect place = widget_.rect();
    for (; !drawn->isVisible() && !drawn->isWindow(); drawn = drawn->parentWidget()) {
        place.translate(drawn->pos());
    }
    drawn->repaint(place);
}

void WidgetControl::displayIfNeeded() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    QCoreApplication::sendPostedEvents(widget_.window(), QEvent::UpdateRequest);
}

QSize WidgetControl::frameSize() const {
    return widget_.size();
}

void WidgetControl::addSubview(View &view) {
    auto *added = dynamic_cast<WidgetControl *>(&view);
    if (added == nullptr) {
        return;
    }
    QWidget &widget = added->widget();
    if (widget.parentWidget() != &widget_) {
        stackOf(widget_).addWidget(&widget, 0, 0);
    }
    widget.raise();
    added->setReason(added->removed_, false);
    focusFirstControl(widget);
}

void WidgetControl::removeFromSuperview() {
    setReason(removed_, true); // NB: it stays a child of the box, which owns it
}

FontChoice TextControl::font() const {
    return {widget().font().family(), widget().font().pointSizeF()};
}

void TextControl::setFont(const FontChoice &choice) {
    if (choice.family.isEmpty() || choice.sizePoints <= 0 || !QFontDatabase::hasFamily(choice.family)) {
        return;
    }
    QFont font = widget().font();
    font.setFamilies({choice.family});
    font.setPointSizeF(choice.sizePoints);
    widget().setFont(font);
}

} // namespace kyb
