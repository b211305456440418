#include "ui/wizard/Controls.h"

#include "text/rich_text.h"
#include "ui/views/ImageView.h"
#include "ui/views/LogTextView.h"
#include "ui/wizard/BorderBox.h"
#include "ui/wizard/EvenProgressBar.h"
#include "ui/wizard/Label.h"
#include "ui/wizard/RichTextView.h"
#include "ui/wizard/Sheet.h"
#include "ui/wizard/Spinner.h"
#include "ui/wizard/ToolbarItems.h"
#include "ui/wizard/WidgetControl.h"
#include "ui/wizard/WizardWindow.h"
#include "ui/wizard/plain_text.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QToolBar>

namespace kyb {
namespace {

QColor standardColor(Color color) {
    switch (color) {
    case Color::Red:
        return Qt::red;
    case Color::Black:
        return Qt::black;
    case Color::Clear:
    case Color::Standard:
        break;
    }
    return Qt::transparent;
}

constexpr int kTitlePadding = 12; // points, on either side of what the style itself leaves

using Action = std::function<void(Control &sender)>;

class LabelControl : public WidgetControl {
public:
    explicit LabelControl(Label &label) : WidgetControl(label), label_(label) { nameBuddy(); }

    void setText(const QString &text) override {
        label_.setPlainText(text);
        nameBuddy();
    }
    QString text() const override { return label_.plainText(); }
    void setTextColor(Color color) override { label_.setTextColor(color); }

private:
    /// What the label says is what a screen reader calls the control beside it.
    void nameBuddy() {
        if (QWidget *described = label_.buddy()) {
            described->setAccessibleName(text());
        }
    }

    Label &label_;
};

class ButtonControl : public WidgetControl {
public:
    explicit ButtonControl(QAbstractButton &button) : WidgetControl(button), button_(button) {}

    void setText(const QString &title) override {
        const QKeySequence shortcut = button_.shortcut(); // a new title takes it away
        button_.setText(withoutMnemonicMeaning(title));
        button_.setShortcut(shortcut);
    }
    QString text() const override { return withoutMnemonic(button_.text()); }
    void sizeToFit() override { button_.setFixedWidth(button_.sizeHint().width() + 2 * kTitlePadding); }
    void setState(int state) override { button_.setChecked(state != 0); }
    int state() const override { return button_.isChecked() ? 1 : 0; }
    void onAction(Action action) override {
        QObject::connect(&button_, &QAbstractButton::clicked, &button_, [this, action] { action(*this); });
    }

private:
    QAbstractButton &button_;
};

class TitledBoxControl : public WidgetControl {
public:
    explicit TitledBoxControl(QGroupBox &box) : WidgetControl(box), box_(box) {}

    void setText(const QString &title) override { box_.setTitle(withoutMnemonicMeaning(title)); }
    QString text() const override { return withoutMnemonic(box_.title()); }

private:
    QGroupBox &box_;
};

class BorderBoxControl : public WidgetControl {
public:
    explicit BorderBoxControl(BorderBox &box) : WidgetControl(box), box_(box) {}

    void setBorderColor(Color color) override { box_.setBorderColor(standardColor(color)); }

private:
    BorderBox &box_;
};

class ImageControl : public WidgetControl {
public:
    explicit ImageControl(ImageView &view) : WidgetControl(view), view_(view) {}

    void setImage(const NamedImage &image) override { view_.setImage(image); }

private:
    ImageView &view_;
};

class ProgressControl : public WidgetControl {
public:
    explicit ProgressControl(EvenProgressBar &bar) : WidgetControl(bar), bar_(bar) {}

    void setValue(double percentage) override { bar_.setPercentage(percentage); }
    double value() const override { return bar_.percentage(); }

private:
    EvenProgressBar &bar_;
};

class SpinnerControl : public WidgetControl {
public:
    explicit SpinnerControl(Spinner &spinner) : WidgetControl(spinner), spinner_(spinner) {}

    void startAnimation() override { spinner_.start(); }
    void stopAnimation() override { spinner_.stop(); }

private:
    Spinner &spinner_;
};

class RichTextControl : public WidgetControl {
public:
    explicit RichTextControl(RichTextView &view) : WidgetControl(view), view_(view) {}

    void setText(const QString &text) override { view_.setUnstyledText(text); }
    QString text() const override { return view_.toPlainText(); }
    void setRichText(const RichTextDocument &document) override { view_.setRichText(document); }

private:
    RichTextView &view_;
};

class LogTextControl : public WidgetControl {
public:
    explicit LogTextControl(LogTextView &view) : WidgetControl(view), view_(view) {}

    void setText(const QString &text) override { view_.setText(text); }
    QString text() const override { return view_.text(); }

private:
    LogTextView &view_;
};

class WindowControl : public WidgetControl {
public:
    explicit WindowControl(QWidget &window) : WidgetControl(window) {}

    void setText(const QString &title) override { widget().setWindowTitle(title); }
    QString text() const override { return widget().windowTitle(); }
    bool isVisible() const override { return widget().isVisible() && !widget().isMinimized(); }
    bool isMinimised() const override { return widget().isMinimized(); }
    void orderOut() override { widget().hide(); }

    void makeKeyAndOrderFront() override {
        if (!widget().testAttribute(Qt::WA_WState_Created)) {
            centre();
        }
        widget().setWindowState(widget().windowState() & ~Qt::WindowMinimized);
        widget().show();
        widget().raise();
        widget().activateWindow();
    }

    void beginSheet(Control &sheet) override {
        const auto *control = dynamic_cast<WidgetControl *>(&sheet);
        auto *dialog = control != nullptr ? qobject_cast<QDialog *>(&control->widget()) : nullptr;
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

class SheetControl : public WindowControl {
public:
    explicit SheetControl(Sheet &sheet) : WindowControl(sheet) {}

    void endSheet() override { widget().hide(); }
};

class MenuItemControl : public Control {
public:
    explicit MenuItemControl(QAction &item) : item_(item) { showMenusWithItems(); }

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
    explicit SearchItemControl(SearchItem &item) : MenuItemControl(item), field_(item.field()) {}

    void setText(const QString &text) override { field_.setText(text); }
    QString text() const override { return field_.text(); }
    void onAction(Action action) override {
        QObject::connect(&field_, &QLineEdit::textChanged, &field_, [this, action] { action(*this); });
    }

private:
    QLineEdit &field_;
};

class MenuControl : public WidgetControl {
public:
    explicit MenuControl(QMenu &menu) : WidgetControl(menu), menu_(menu) {}

    void setEnabled(bool enabled) override { menu_.menuAction()->setEnabled(enabled); }
    bool isEnabled() const override { return menu_.menuAction()->isEnabled(); }
    void setHidden(bool hidden) override { menu_.menuAction()->setVisible(!hidden); }
    bool isVisible() const override { return menu_.menuAction()->isVisible(); }
    void setText(const QString &title) override { menu_.setTitle(withoutMnemonicMeaning(title)); }
    QString text() const override { return withoutMnemonic(menu_.title()); }

private:
    QMenu &menu_;
};

class ToolBarControl : public WidgetControl {
public:
    explicit ToolBarControl(QToolBar &bar) : WidgetControl(bar), bar_(bar) {}

    /// An item that is there already moves; an index past the end is the end.
    void insertItem(Control &item, int index) override {
        if (const auto *added = dynamic_cast<MenuItemControl *>(&item)) {
            bar_.removeAction(&added->item());
            bar_.insertAction(bar_.actions().value(index), &added->item());
        }
    }

private:
    QToolBar &bar_;
};

using Maker = std::unique_ptr<Control> (*)(QObject &);

template <class Object, class ControlOfIt> std::unique_ptr<Control> make(QObject &object) {
    auto *known = qobject_cast<Object *>(&object);
    return known != nullptr ? std::make_unique<ControlOfIt>(*known) : nullptr;
}

/// Each kind before the kinds that it is one of.
constexpr Maker kMakers[] = {
    make<Label, LabelControl>,         make<QAbstractButton, ButtonControl>,
    make<ImageView, ImageControl>,     make<EvenProgressBar, ProgressControl>,
    make<Spinner, SpinnerControl>,     make<BorderBox, BorderBoxControl>,
    make<QGroupBox, TitledBoxControl>, make<RichTextView, RichTextControl>,
    make<LogTextView, LogTextControl>, make<Sheet, SheetControl>,
    make<QMainWindow, WindowControl>,  make<SearchItem, SearchItemControl>,
    make<QAction, MenuItemControl>,    make<QMenu, MenuControl>,
    make<QToolBar, ToolBarControl>,    make<QWidget, WidgetControl>,
};

} // namespace

std::unique_ptr<Control> makeControl(QObject &object) {
    for (const Maker maker : kMakers) {
        if (std::unique_ptr<Control> control = maker(object)) {
            return control;
        }
    }
    return nullptr;
}

} // namespace kyb
