#include "ui/wizard/ToolbarItems.h"

#include <QIcon>
#include <QLineEdit>
#include <QShortcut>

namespace kyb {
namespace {

constexpr int kFieldWidth = 280; // points
constexpr int kFieldHeight = 28;

} // namespace

SearchItem::SearchItem(QObject *parent) : QWidgetAction(parent), field_(new QLineEdit) {
    field_->setClearButtonEnabled(true);
    field_->setFixedSize(kFieldWidth, kFieldHeight);
    magnifier_ = field_->addAction(QIcon(), QLineEdit::LeadingPosition);
    connect(this, &QAction::changed, field_, [this] {
        field_->setPlaceholderText(text());
        field_->setAccessibleName(text());
        field_->setToolTip(toolTip());
        magnifier_->setIcon(icon());
    });
    auto *escape = new QShortcut(Qt::Key_Escape, field_);
    escape->setContext(Qt::WidgetShortcut);
    connect(escape, &QShortcut::activated, field_, &QLineEdit::clear);
    setDefaultWidget(field_);
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
