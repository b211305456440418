#pragma once

#include "ui/views/WidgetControl.h"

#include <QDialog>
#include <QMainWindow>
#include <functional>

namespace kyb {

/// The main window: of one size, with one screen at a time. Return presses the button that has the focus, else the
/// default button that is shown; Escape presses the one that the screen names. Main thread.
class WizardWindow : public QMainWindow {
    Q_OBJECT

public:
    using QMainWindow::QMainWindow;

    /// Asked before the window closes; closes without being asked when there is no such function.
    void setShouldClose(std::function<bool()> shouldClose) { shouldClose_ = std::move(shouldClose); }

    /// Whether the title bar's close button works. A close that comes by another way is refused just so.
    void setCloseButtonEnabled(bool enabled);
    bool isCloseButtonEnabled() const { return closeButtonEnabled_; }

protected:
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    std::function<bool()> shouldClose_;
    bool closeButtonEnabled_ = true;
};

/// A panel that blocks the window it belongs to. It goes away by its buttons only: Escape and the close button press
/// the one that the sheet names. Main thread.
class SheetDialog : public QDialog, public WidgetControl, public virtual Sheet {
    Q_OBJECT

public:
    explicit SheetDialog(QWidget *parent = nullptr);

    void endSheet() override { hide(); }
    void orderOut() override { hide(); }

public Q_SLOTS:
    void reject() override;
};

} // namespace kyb
