#pragma once

#include <QWidgetAction>

class QLineEdit;

namespace kyb {

/// The toolbar item with the field whose text filters. Its own text is what the empty field says. The
/// item owns the field. Main thread.
class SearchItem : public QWidgetAction {
    Q_OBJECT

public:
    explicit SearchItem(QObject *parent);

    QLineEdit &field() const { return *field_; }

public Q_SLOTS:
    void focusField();

private:
    void addClearButton();

    QLineEdit *field_;
    QAction *magnifier_;
};

/// The toolbar item that takes all the room that there is, and shows its text at the end of it. Main thread.
class MessageItem : public QWidgetAction {
    Q_OBJECT

public:
    explicit MessageItem(QObject *parent);
};

} // namespace kyb
