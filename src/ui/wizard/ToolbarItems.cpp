#include "ui/wizard/ToolbarItems.h"

#include <QCoreApplication>
#include <QIcon>
#include <QLineEdit>
#include <QShortcut>

namespace kyb {
namespace {

constexpr int kFieldWidth = 280; // points
constexpr int kFieldHeight = 28;

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

FlexibleSpace::FlexibleSpace(QObject *parent) : QWidgetAction(parent) {
    auto *space = new QWidget;
    space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    space->setAttribute(Qt::WA_TransparentForMouseEvents);
    setDefaultWidget(space);
}

} // namespace kyb
