#pragma once

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QString>
#include <functional>
#include <memory>

class QWidget;

/// Somebody in front of the display: presses keys and moves the mouse through the X server, as any program's real user
/// does, and looks at widgets by their object names. Lives on a thread of its own; each look runs on the main thread.
class User {
public:
    User();
    ~User();

    // Mouse. Positions are in pixels of the screen.
    void moveTo(QPoint position);
    void press();
    void release();
    void click(const QString &objectName);
    /// Presses on one widget and moves in small steps to a place.
    void pull(const QString &fromObjectName, QPoint to);
    /// Pulls, and releases there.
    void drag(const QString &fromObjectName, QPoint to);

    // Keyboard.
    void type(const QString &latinText);
    void key(const char *keyName); ///< an X key name: "Return", "Tab", "space", "Escape"
    void keyWithControl(const char *keyName);
    /// Presses Tab until the widget has the focus.
    void tabTo(const QString &objectName);

    // Eyes. Each waits until it is so and fails the test after a while.
    void waitFor(const std::function<bool()> &conditionOnMainThread, const char *what);
    void waitForVisible(const QString &objectName);
    /// Waits until a window or sheet gets the keys.
    void waitForActive(const QString &objectName);
    void waitForGone(const QString &objectName);
    /// Waits until no drag from that widget goes on, and no picture glides back.
    void waitForTheDragsEnd(const QString &fromObjectName);
    void waitForText(const QString &objectName, const QString &part);

    bool isVisible(const QString &objectName);
    bool isEnabled(const QString &objectName);
    bool hasFocus(const QString &objectName);
    QString text(const QString &objectName);
    QPoint centerOf(const QString &objectName);
    QRect frameOf(const QString &objectName);

    /// Runs \p look on the main thread and waits for it.
    void onMain(const std::function<void()> &look);

private:
    struct Display;

    QPoint restingCenterOf(const QString &objectName);
    /// Strikes a key, while the modifier is held, if there is one; both are X keysyms.
    void strike(unsigned long keysym, unsigned long modifier);

    std::unique_ptr<Display> display_;
};
