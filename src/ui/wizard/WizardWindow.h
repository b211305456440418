#pragma once

#include <QMainWindow>
#include <functional>

class QAbstractButton;

namespace kyb {

/// The name of the property by which a screen or a sheet names the button that Escape presses.
inline constexpr char kEscapePresses[] = "escapePresses";

/// Presses the button of \p container, or of one of the screens shown in it, that answers Escape. \return whether there
/// was one that can be pressed now.
bool pressEscapeButton(QWidget &container);

/// The main window: of one size, with one screen at a time. Return presses the button that has the focus, else the
/// default button that is shown; Escape presses the one that the screen names.
class WizardWindow : public QMainWindow {
    Q_OBJECT

public:
    using QMainWindow::QMainWindow;

    /// Asked before the window closes; closes without being asked when there is no such function.
    void setShouldClose(std::function<bool()> shouldClose) { shouldClose_ = std::move(shouldClose); }

    /// Whether the title bar's close button works.
    void setCloseButtonEnabled(bool enabled);
    bool isCloseButtonEnabled() const { return closeButtonEnabled_; }

protected:
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    std::function<bool()> shouldClose_;
    bool closeButtonEnabled_ = true;
};

} // namespace kyb
