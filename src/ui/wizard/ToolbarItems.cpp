#include "ui/wizard/ToolbarItems.h"

#include "ui/wizard/Label.h"

#include <QCoreApplication>
#include <QIcon>
#include <QLineEdit>
#include <QShortcut>

namespace kyb {
namespace {

constexpr int kFieldWidth = 280; // points
constexpr int kFieldHeight = 28;
constexpr int kMessageGap = 12;

} // namespace

SearchItem::SearchItem(QObject *parent) : QWidgetAction(parent), field_(new QLineEdit) {
    field_->setFixedSize(kFieldWidth, kFieldHeight);
    addClearButton();
    magnifier_ = field_->addAction(QIcon(), QLineEdit::LeadingPosition);
    connect(magnifier_, &QAction::triggered, this, &SearchItem::focusField);
    connect(this, &QAction::changed, field_, [this] {
        field_->setPlaceholderText(text());
        field_->setAccessibleName(text());
        field_->setToolTip(toolTip());
        magnifier_->setIcon(icon());
        magnifier_->setText(text());
    });
    auto *escape = new QShortcut(Qt::Key_Escape, field_);
    escape->setContext(Qt::WidgetShortcut);
    connect(escape, &QShortcut::activated, field_, &QLineEdit::clear);
    setDefaultWidget(field_);
}

void SearchItem::addClearButton() {
    field_->setClearButtonEnabled(true);
    for (auto *clear : field_->findChildren<QAction *>()) { // which the toolkit leaves without a name
        clear->setText(QCoreApplication::translate("SearchItem", "Clear Filter"));
    }
}

void SearchItem::focusField() {
    field_->setFocus(Qt::ShortcutFocusReason);
    field_->selectAll();
}

MessageItem::MessageItem(QObject *parent) : QWidgetAction(parent) {
    auto *label = new Label;
    label->setTextStyle(Label::TextStyle::Secondary);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setContentsMargins(0, 0, kMessageGap, 0);
    label->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    label->setMinimumWidth(1); // NB: it gives way before the items do
    label->setAttribute(Qt::WA_TransparentForMouseEvents);
    connect(this, &QAction::changed, label, [this, label] { label->setText(text()); });
    setDefaultWidget(label);
}

} // namespace kyb
