#pragma once

#include "controller/outlet.h"

class QWidget;

namespace kyb {

/// Gives the focus to the control that \p screen names for it, else to the screen itself.
void focusFirstControl(QWidget &screen);

/// What every widget can do. Hidden, transparent and removed from its superview are three things that are set apart
/// from each other; a widget is shown when it is none of them.
class WidgetControl : public Control {
public:
    explicit WidgetControl(QWidget &widget);

    QWidget &widget() const { return widget_; }

    void setEnabled(bool enabled) override;
    bool isEnabled() const override;
    void setHidden(bool hidden) override;
    bool isVisible() const override; ///< shown in its window, whether or not that is on the screen
    void setTransparent(bool transparent) override;
    void displayNow() override;
    void displayIfNeeded() override;
    QSize frameSize() const override;
    void addSubview(Control &view) override; ///< on top of the others, as large as this one
    void removeFromSuperview() override;
    FontChoice font() const override;
    void setFont(const FontChoice &font) override;

private:
    void applyVisibility();

    QWidget &widget_;
    bool hidden_;
    bool transparent_ = false;
    bool removed_ = false;
};

} // namespace kyb
