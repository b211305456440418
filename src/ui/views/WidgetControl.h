#pragma once

#include "controller/outlet.h"

class QWidget;

namespace kyb {

/// Gives the focus to the control that \p screen names for it, else to the screen itself. Main thread.
void focusFirstControl(QWidget &screen);

/// What every widget can do as a control. A widget of the program's own is its own control: it has this as a further
/// base. For one of the toolkit's an adapter stands, which must not be asked once the widget is gone. Main thread.
///
/// Hidden, transparent and removed from its superview are three things that are set apart from each other; a widget is
/// shown when it is none of them.
class WidgetControl : public virtual View {
public:
    explicit WidgetControl(QWidget *widget) : widget_(*widget) {}

    void setEnabled(bool enabled) override;
    bool isEnabled() const override;
    void setHidden(bool hidden) override;
    bool isVisible() const override; ///< shown in its window, whether or not that is on the screen
    void setTransparent(bool transparent) override;
    void displayNow() override;
    void displayIfNeeded() override;
    QSize frameSize() const override;
    void addSubview(View &view) override; ///< on top of the others, as large as this one
    void removeFromSuperview() override;

protected:
    QWidget &widget() const { return widget_; }

private:
    void setReason(bool &reason, bool holds);

    QWidget &widget_;
    bool isDescriptionRead_ = false; // which may have hidden the widget
    bool hidden_ = false;            // the reasons not to be shown
    bool transparent_ = false;
    bool removed_ = false;
};

/// The same for a widget that shows a text.
class TextControl : public WidgetControl, public virtual Text {
public:
    using WidgetControl::WidgetControl;

    FontChoice font() const override;
    void setFont(const FontChoice &font) override;
};

} // namespace kyb
