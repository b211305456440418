#include "ui/wizard/Controls.h"

#include "ui/views/WidgetControl.h"
#include "ui/wizard/ToolbarItems.h"
#include "ui/wizard/WizardWindow.h"
#include "ui/wizard/plain_text.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QSignalBlocker>
#include <QToolBar>

namespace kyb {
namespace {

using Action = std::function<void(HasText &sender)>;

class ButtonControl : public WidgetControl, public virtual Button {
public:
    explicit ButtonControl(QAbstractButton *button) : WidgetControl(button), button_(*button) {}

    void setText(const QString &title) override {
        const QKeySequence shortcut = button_.shortcut(); // a new title takes it away
        button_.setText(withoutMnemonicMeaning(title));
        button_.setShortcut(shortcut);
    }
    QString text() const override { return withoutMnemonic(button_.text()); }
    void sizeToFit() override { button_.setFixedWidth(button_.sizeHint().width()); }
    void onAction(Action action) override {
        QObject::connect(&button_, &QAbstractButton::clicked, &button_, [this, action] { action(*this); });
    }

private:
    QAbstractButton &button_;
};

class CheckBoxControl : public ButtonControl, public virtual CheckBox {
public:
    explicit CheckBoxControl(QCheckBox *box) : ButtonControl(box), box_(*box) {}

    void setChecked(bool checked) override {
        const QSignalBlocker quiet(box_);
        box_.setChecked(checked);
    }
    bool isChecked() const override { return box_.checkState() == Qt::Checked; } // NB: a mixed state is none
    // NB: not `clicked`: the toolkit does not click what assistive technology toggles.
    void onAction(Action action) override {
        QObject::connect(&box_, &QAbstractButton::toggled, &box_, [this, action] { action(*this); });
    }

private:
    QCheckBox &box_;
};

class TitledBoxControl : public WidgetControl, public virtual Box {
public:
    explicit TitledBoxControl(QGroupBox *box) : WidgetControl(box), box_(*box) {}

    void setText(const QString &title) override { box_.setTitle(withoutMnemonicMeaning(title)); }
    QString text() const override { return withoutMnemonic(box_.title()); }

private:
    QGroupBox &box_;
};

class WindowControl : public WidgetControl, public virtual Window {
public:
    explicit WindowControl(QMainWindow *window) : WidgetControl(window) {}

    void setText(const QString &title) override { widget().setWindowTitle(title); }
    QString text() const override { return widget().windowTitle(); }
    bool isVisible() const override { return widget().isVisible() && !widget().isMinimized(); }
    bool isMinimised() const override { return widget().isMinimized(); }

    void makeKeyAndOrderFront() override {
        if (!widget().testAttribute(Qt::WA_WState_Created)) {
            centre();
        }
        widget().setWindowState(widget().windowState() & ~Qt::WindowMinimized);
        widget().show();
        widget().raise();
        widget().activateWindow();
    }

    void beginSheet(Sheet &sheet) override {
        auto *dialog = dynamic_cast<QDialog *>(&sheet);
        if (dialog == nullptr || dialog->isVisible()) {
            return;
        }
        if (!isVisible()) {
            makeKeyAndOrderFront(); // a sheet on a minimised window would be seen by nobody
        }
        dialog->open();
        dialog->activateWindow();
    }

    void setCloseButtonEnabled(bool enabled) override {
        if (auto *window = qobject_cast<WizardWindow *>(&widget())) {
            window->setCloseButtonEnabled(enabled);
        }
    }

    std::optional<QString> runSavePanel() override {
        const QString path = QFileDialog::getSaveFileName(&widget());
        return path.isEmpty() ? std::nullopt : std::optional(path);
    }

private:
    void centre() {
        if (!widget().testAttribute(Qt::WA_Resized)) {
            widget().adjustSize();
        }
        QRect frame = widget().frameGeometry();
        frame.moveCenter(widget().screen()->availableGeometry().center());
        widget().move(frame.topLeft());
    }
};

class MenuItemControl : public virtual MenuItem {
public:
    explicit MenuItemControl(QAction *item) : item_(*item) { showMenusWithItems(); }

    void setEnabled(bool enabled) override { item_.setEnabled(enabled); }
    bool isEnabled() const override { return item_.isEnabled(); }
    void setHidden(bool hidden) override {
        item_.setVisible(!hidden);
        showMenusWithItems();
    }
    bool isVisible() const override { return item_.isVisible(); }
    void setText(const QString &title) override { item_.setText(withoutMnemonicMeaning(title)); }
    QString text() const override { return withoutMnemonic(item_.text()); }
    void onAction(Action action) override {
        QObject::connect(&item_, &QAction::triggered, &item_, [this, action] { action(*this); });
    }

    QAction &item() const { return item_; }

private:
    /// A menu that would open empty is not there.
    void showMenusWithItems() {
        for (QObject *object : item_.associatedObjects()) {
            if (auto *menu = qobject_cast<QMenu *>(object)) {
                menu->menuAction()->setVisible(!menu->isEmpty());
            }
        }
    }

    QAction &item_;
};

class SearchItemControl : public MenuItemControl {
public:
    explicit SearchItemControl(SearchItem *item) : MenuItemControl(item), field_(item->field()) {}

    void setText(const QString &text) override { field_.setText(text); }
    QString text() const override { return field_.text(); }
    void onAction(Action action) override {
        QObject::connect(&field_, &QLineEdit::textChanged, &field_, [this, action] { action(*this); });
    }

private:
    QLineEdit &field_;
};

class ToolBarControl : public WidgetControl, public virtual ToolBar {
public:
    explicit ToolBarControl(QToolBar *bar) : WidgetControl(bar), bar_(*bar) {}

    /// An item that is there already moves; an index past the end is the end.
    void insertItem(MenuItem &item, int index) override {
        if (const auto *added = dynamic_cast<MenuItemControl *>(&item)) {
            bar_.removeAction(&added->item());
            bar_.insertAction(bar_.actions().value(index), &added->item());
        }
    }

private:
    QToolBar &bar_;
};

using Maker = std::unique_ptr<Control> (*)(QObject &);

template <class Object, class Adapter> std::unique_ptr<Control> make(QObject &object) {
    auto *known = qobject_cast<Object *>(&object);
    return known != nullptr ? std::make_unique<Adapter>(known) : nullptr;
}

/// A menu is what its item in the menu bar is.
std::unique_ptr<Control> makeForMenu(QObject &object) {
    const auto *menu = qobject_cast<QMenu *>(&object);
    return menu != nullptr ? std::make_unique<MenuItemControl>(menu->menuAction()) : nullptr;
}

/// Each kind before the kinds that it is one of.
constexpr Maker kMakers[] = {
    make<QCheckBox, CheckBoxControl>,    make<QAbstractButton, ButtonControl>,
    make<QGroupBox, TitledBoxControl>,   make<QMainWindow, WindowControl>,
    make<SearchItem, SearchItemControl>, make<QAction, MenuItemControl>,
    make<QToolBar, ToolBarControl>,      makeForMenu,
    make<QWidget, WidgetControl>,
};

} // namespace

std::unique_ptr<Control> makeAdapter(QObject &object) {
    for (const Maker maker : kMakers) {
        if (std::unique_ptr<Control> control = maker(object)) {
            return control;
        }
    }
    return nullptr;
}

} // namespace kyb
