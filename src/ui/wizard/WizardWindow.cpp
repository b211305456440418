#include "ui/wizard/WizardWindow.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QPushButton>
#include <QWindow>
#include <utility>

namespace kyb {
namespace {

bool press(QAbstractButton *button) {
    if (button == nullptr || !button->isVisible() || !button->isEnabled()) {
        return false;
    }
    button->click();
    return true;
}

bool pressDefaultButton(const QWidget &window) {
    for (QPushButton *button : window.findChildren<QPushButton *>()) {
        if (button->isDefault() && button->window() == &window && press(button)) {
            return true;
        }
    }
    return false;
}

/// Return presses the button that has the focus, if there is one, else the default button.
bool pressReturnButton(const QWidget &window) {
    return press(qobject_cast<QPushButton *>(window.focusWidget())) || pressDefaultButton(window);
}

bool isReturn(const QKeyEvent &event) {
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

/// The name of the property by which a screen or a sheet names the button that Escape presses.
constexpr char kEscapePresses[] = "escapePresses";

/// Presses the button of the container, or of one of the screens shown in it, that answers Escape. \return whether
/// there was one that can be pressed now.
bool pressEscapeButton(QWidget &container) {
    QList<QWidget *> holders = container.findChildren<QWidget *>();
    holders.prepend(&container);
    for (const QWidget *holder : std::as_const(holders)) {
        const QString name = holder->property(kEscapePresses).toString();
        if (!name.isEmpty() && holder->isVisible() && press(container.findChild<QAbstractButton *>(name))) {
            return true;
        }
    }
    return false;
}

} // namespace

void WizardWindow::setCloseButtonEnabled(bool enabled) {
    closeButtonEnabled_ = enabled;
    if (QWindow *shown = windowHandle()) {
        shown->setFlag(Qt::WindowCloseButtonHint, enabled); // NB: the widget's own flags would take the window away
    } else {
        setWindowFlag(Qt::WindowCloseButtonHint, enabled);
    }
}

void WizardWindow::closeEvent(QCloseEvent *event) {
    event->setAccepted(closeButtonEnabled_ && (!shouldClose_ || shouldClose_()));
}

void WizardWindow::keyPressEvent(QKeyEvent *event) {
    const bool answered =
        (isReturn(*event) && pressReturnButton(*this)) || (event->key() == Qt::Key_Escape && pressEscapeButton(*this));
    if (!answered) {
        QMainWindow::keyPressEvent(event);
    }
}

SheetDialog::SheetDialog(QWidget *parent)
    : QDialog(parent, Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint), WidgetControl(this) {}

void SheetDialog::reject() {
    pressEscapeButton(*this);
}

} // namespace kyb
