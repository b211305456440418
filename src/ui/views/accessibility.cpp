#include "ui/views/accessibility.h"

#include "base/KYGlobalConstants.h"
#include "text/localized_text.h"
#include "ui/views/ImageView.h"
#include "ui/views/KYSourceView.h"
#include "ui/views/LogTextView.h"

#include <QAccessible>
#include <QAccessibleWidget>

namespace kyb {
namespace {

class Picture : public QAccessibleWidget {
public:
    explicit Picture(QWidget *view) : QAccessibleWidget(view, QAccessible::Graphic) {}
};

/// The package's icon: to somebody who does not see it, a button.
class PackageIcon : public QAccessibleWidget {
public:
    explicit PackageIcon(KYSourceView *view) : QAccessibleWidget(view, QAccessible::Button), view_(view) {}

    QString text(QAccessible::Text kind) const override {
        if (kind != QAccessible::Description) {
            return QAccessibleWidget::text(kind);
        }
        return localizedText(isTermsAndConditionsAccepted ? QStringLiteral("SourceIconHelp")
                                                          : QStringLiteral("SourceIconTermsFirst"));
    }
    QStringList actionNames() const override { return QStringList{pressAction()} + QAccessibleWidget::actionNames(); }

    void doAction(const QString &name) override {
        if (name != pressAction()) {
            QAccessibleWidget::doAction(name);
        } else if (view_->QWidget::isEnabled() && view_->QWidget::isVisible()) { // as a mouse finds it
            view_->performDragByKeyboard();
        }
    }

private:
    KYSourceView *view_;
};

/// A log as a read-only text. The offsets of the interface are `int`; what lies beyond cannot be asked for.
class LogText : public QAccessibleWidget, public QAccessibleTextInterface {
public:
    explicit LogText(LogTextView *view) : QAccessibleWidget(view, QAccessible::EditableText), view_(view) {}

    void *interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::TextInterface ? static_cast<QAccessibleTextInterface *>(this)
                                                  : QAccessibleWidget::interface_cast(type);
    }
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.readOnly = true;
        state.multiLine = true;
        state.selectableText = true;
        return state;
    }

    void selection(int index, int *start, int *end) const override {
        const bool has = index == 0 && view_->hasSelection();
        *start = has ? int(view_->selectionStart()) : 0;
        *end = has ? int(view_->selectionEnd()) : 0;
    }
    int selectionCount() const override { return view_->hasSelection() ? 1 : 0; }
    void addSelection(int start, int end) override { view_->select(start, end); }
    void removeSelection(int) override { view_->select(view_->caret(), view_->caret()); }
    void setSelection(int, int start, int end) override { view_->select(start, end); }

    int cursorPosition() const override { return int(view_->caret()); }
    void setCursorPosition(int position) override { view_->select(position, position); }
    void scrollToSubstring(int start, int) override { view_->select(start, start); }

    using QAccessibleWidget::text;
    QString text(int start, int end) const override { return view_->text().mid(start, end - start); }
    int characterCount() const override { return int(view_->text().size()); }
    QString attributes(int, int *start, int *end) const override {
        *start = 0;
        *end = characterCount();
        return {};
    }

    QRect characterRect(int offset) const override {
        const QRect here = view_->caretRect(offset);
        const QRect next = view_->caretRect(offset + 1);
        const int width = next.top() == here.top() ? next.left() - here.left() : 0;
        return {view_->viewport()->mapToGlobal(here.topLeft()), QSize(width, here.height())};
    }
    int offsetAtPoint(const QPoint &point) const override {
        return int(view_->positionAt(view_->viewport()->mapFromGlobal(point)));
    }

private:
    LogTextView *view_;
};

QAccessibleInterface *makeAccessible(const QString &, QObject *object) {
    if (auto *log = qobject_cast<LogTextView *>(object)) {
        return new LogText(log);
    }
    if (auto *source = qobject_cast<KYSourceView *>(object)) {
        return new PackageIcon(source);
    }
    auto *picture = qobject_cast<ImageView *>(object);
    return picture != nullptr ? new Picture(picture) : nullptr;
}

} // namespace

void installViewAccessibility() {
    QAccessible::installFactory(makeAccessible); // which passes over a factory that it has
}

} // namespace kyb
