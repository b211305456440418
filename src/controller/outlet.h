#pragma once

#include "base/KYGlobalConstants.h"
#include "base/threads.h"

#include <QSize>
#include <QString>
#include <functional>
#include <optional>

namespace kyb {

struct RichTextDocument;

enum class Color { Standard, Clear, Black, Red };

/// A font by family name and size; an empty family is "no font".
struct FontChoice {
    QString family;
    double sizePoints = 0;
};

/// \name Controls
/// What the program asks of the controls of the interface, by their kinds, in words of its own. The toolkit's side
/// implements them; the kinds themselves skip whatever they are asked: every operation here does nothing. The bases are
/// virtual so that one implementation of what is common serves every kind.
///
/// Main thread. A control lives as long as the interface that made it.
/// @{

class Control {
public:
    virtual ~Control() = default;

    virtual void setEnabled(bool) {}
    virtual bool isEnabled() const { return false; }
    virtual void setHidden(bool) {}
    virtual bool isVisible() const { return false; }
};

/// The title of a button, menu item, box or window; the string of a field or text view.
class HasText : public virtual Control {
public:
    virtual void setText(const QString &) {}
    virtual QString text() const { return {}; }
};

class HasAction : public virtual HasText {
public:
    virtual void onAction(std::function<void(HasText &sender)>) {} ///< what a press, an edit or a choice runs
};

class View : public virtual Control {
public:
    virtual void setTransparent(bool) {}               ///< not drawn, yet it keeps its place
    virtual void displayNow() {}                       ///< draws at once, not when the event loop turns
    virtual void displayIfNeeded() {}                  ///< draws at once what has changed
    virtual QSize frameSize() const { return {0, 0}; } ///< points
    virtual void addSubview(View &) {}
    virtual void removeFromSuperview() {}
};

/// A text field or a text view.
class Text : public virtual View, public virtual HasText {
public:
    virtual void setTextColor(Color) {}
    virtual FontChoice font() const { return {}; }
    virtual void setFont(const FontChoice &) {} ///< skipped when the system has no such font
};

class RichText : public virtual Text {
public:
    virtual void setRichText(const RichTextDocument &) {}
};

class Button : public virtual View, public virtual HasAction {
public:
    virtual void sizeToFit() {} ///< resizes the button, and nothing else, to its title
};

class CheckBox : public virtual Button {
public:
    virtual void setChecked(bool) {} ///< runs no action
    virtual bool isChecked() const { return false; }
};

class Image : public virtual View {
public:
    virtual void setImage(const NamedImage &) {}
};

class Box : public virtual View, public virtual HasText {
public:
    virtual void setBorderColor(Color) {}
};

/// A bar or a spinner; values are percentages, 0 to 100.
class ProgressIndicator : public virtual View {
public:
    virtual void setValue(double) {}
    virtual double value() const { return 0; }
    virtual void startAnimation() {}
    virtual void stopAnimation() {}
};

class Sheet : public virtual View {
public:
    virtual void endSheet() {} ///< ends the modality
    virtual void orderOut() {}
};

class Window : public virtual View, public virtual HasText {
public:
    virtual bool isMinimised() const { return false; }
    virtual void makeKeyAndOrderFront() {}
    virtual void beginSheet(Sheet &) {} ///< shows the sheet, modal to this window
    virtual void setCloseButtonEnabled(bool) {}
    virtual std::optional<QString> runSavePanel() { return {}; } ///< modal; the chosen path, or nothing
};

/// An item of a menu or a tool bar, or a menu.
class MenuItem : public virtual HasAction {};

class ToolBar : public virtual View {
public:
    virtual void insertItem(MenuItem &, int /*index*/) {}
};
/// @}

/// The handle to a control of the interface description. An outlet that is not connected, or that was to be connected
/// to a control of another kind, is skipped: whatever is asked of it does nothing. Main thread.
template <class Kind> class Outlet {
public:
    void connect(Control *control) {
        auto *known = dynamic_cast<Kind *>(control);
        control_ = known != nullptr ? known : &absent();
    }
    bool isConnected() const { return control_ != &absent(); }
    Kind &operator*() const { return *operator->(); }
    Kind *operator->() const {
        Q_ASSERT(isMainThread());
        return control_;
    }

private:
    static Kind &absent() {
        static Kind control;
        return control;
    }

    Kind *control_ = &absent();
};

} // namespace kyb
