#pragma once

#include <QEvent>
#include <QObject>

namespace kyb::test {

/// Counts how often a widget is painted. Main thread.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QObject &widget) { widget.installEventFilter(this); }

    int paints() const { return paints_; }

    bool eventFilter(QObject *watched, QEvent *event) override {
        paints_ += event->type() == QEvent::Paint ? 1 : 0;
        return QObject::eventFilter(watched, event);
    }

private:
    int paints_ = 0;
};

} // namespace kyb::test
