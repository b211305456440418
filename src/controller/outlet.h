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

/// What the program asks of one control of the interface. The toolkit's side derives an adapter for each kind of
/// control; what a kind cannot do, it skips: every operation here does nothing.
///
/// Main thread. A control lives as long as the interface that made it.
class Control {
public:
    virtual ~Control() = default;

    // Every control.
    virtual void setEnabled(bool) {}
    virtual bool isEnabled() const { return false; }
    virtual void setHidden(bool) {}
    virtual bool isVisible() const { return false; }
    virtual void setTransparent(bool) {}               ///< not drawn, yet it keeps its place
    virtual void displayNow() {}                       ///< draws at once, not when the event loop turns
    virtual void displayIfNeeded() {}                  ///< draws at once what has changed
    virtual QSize frameSize() const { return {0, 0}; } ///< points
    virtual void addSubview(Control &) {}
    virtual void removeFromSuperview() {}
    virtual void onAction(std::function<void(Control &sender)>) {} ///< what a press, an edit or a choice runs

    // Texts: the title of a button, menu item, box or window; the string of a field or text view.
    virtual void setText(const QString &) {}
    virtual QString text() const { return {}; }
    virtual void setRichText(const RichTextDocument &) {}
    virtual void setTextColor(Color) {}
    virtual FontChoice font() const { return {}; }
    virtual void setFont(const FontChoice &) {} ///< skipped when the system has no such font
    virtual void sizeToFit() {}                 ///< resizes the control, and nothing else, to its text

    // Check boxes: 1 on, 0 off.
    virtual void setState(int) {}
    virtual int state() const { return 0; }

    // Image views and boxes.
    virtual void setImage(const NamedImage &) {}
    virtual void setBorderColor(Color) {}

    // Progress indicators; values are percentages, 0 to 100.
    virtual void setValue(double) {}
    virtual double value() const { return 0; }
    virtual void startAnimation() {}
    virtual void stopAnimation() {}

    // Windows and sheets.
    virtual bool isMinimised() const { return false; }
    virtual void makeKeyAndOrderFront() {}
    virtual void orderOut() {}
    virtual void beginSheet(Control &) {} ///< shows the sheet, modal to this window
    virtual void endSheet() {}            ///< ends the modality of this sheet
    virtual void setCloseButtonEnabled(bool) {}
    virtual std::optional<QString> runSavePanel() { return {}; } ///< modal; the chosen path, or nothing

    // Toolbars.
    virtual void insertItem(Control &, int /*index*/) {}

    /// The control that skips everything.
    static Control &absent() {
        static Control control;
        return control;
    }
};

/// The handle to a control of the interface description. An outlet that is not connected is skipped: whatever is asked
/// of it does nothing. Main thread.
class Outlet {
public:
    void connect(Control *control) { control_ = control != nullptr ? control : &Control::absent(); }
    bool isConnected() const { return control_ != &Control::absent(); }
    Control &operator*() const { return *operator->(); }
    Control *operator->() const {
        Q_ASSERT(isMainThread());
        return control_;
    }

private:
    Control *control_ = &Control::absent();
};

} // namespace kyb
