#include "User.h"

#include "base/threads.h"

#include <QAction>
#include <QApplication>
#include <QDrag>
#include <QElapsedTimer>
#include <QScreen>
#include <QThread>
#include <QWidget>
#include <algorithm>
#include <gtest/gtest.h>
// NB: X11's macros must come after everything of Qt.
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

constexpr int kWaitLimitMilliseconds = 60'000;
constexpr int kDragSteps = 24;

QWidget *find(const QString &objectName) {
    QWidget *hidden = nullptr;
    for (QWidget *widget : QApplication::allWidgets()) {
        if (widget->objectName() == objectName) {
            if (widget->isVisible()) {
                return widget;
            }
            hidden = widget;
        }
    }
    return hidden;
}

/// Whether the drag from \p source is over, and its picture back if it was cancelled. Main thread.
bool hasDragEnded(const QObject *source) {
    const auto windows = QApplication::topLevelWidgets();
    return QGuiApplication::mouseButtons() == Qt::NoButton &&
           (source == nullptr || source->findChild<QDrag *>() == nullptr) &&
           std::ranges::none_of(windows, [](const QWidget *window) { return window->objectName() == u"slideBack"; });
}

} // namespace

struct User::Display {
    ::Display *connection = XOpenDisplay(nullptr);
};

User::User() : display_(std::make_unique<Display>()) {}

User::~User() {
    XCloseDisplay(display_->connection);
}

void User::moveTo(QPoint position) {
    XTestFakeMotionEvent(display_->connection, -1, position.x(), position.y(), CurrentTime);
    XSync(display_->connection, False);
}

void User::press() {
    XTestFakeButtonEvent(display_->connection, 1, True, CurrentTime);
    XSync(display_->connection, False);
}

void User::release() {
    XTestFakeButtonEvent(display_->connection, 1, False, CurrentTime);
    XSync(display_->connection, False);
}

void User::click(const QString &objectName) {
    waitForVisible(objectName);
    moveTo(restingCenterOf(objectName));
    press();
    release();
}

void User::pull(const QString &fromObjectName, QPoint to) {
    const QPoint from = restingCenterOf(fromObjectName);
    moveTo(from);
    press();
    waitFor([] { return QGuiApplication::mouseButtons() != Qt::NoButton; }, "the press to come");
    for (int step = 1; step <= kDragSteps; ++step) {
        QThread::msleep(10); // a hand is no faster
        moveTo(from + (to - from) * step / kDragSteps);
    }
}

void User::drag(const QString &fromObjectName, QPoint to) {
    pull(fromObjectName, to);
    QThread::msleep(60);
    release();
    waitForTheDragsEnd(fromObjectName);
}

void User::strike(unsigned long keysym, unsigned long modifier) {
    const KeyCode code = XKeysymToKeycode(display_->connection, keysym);
    const KeyCode held = XKeysymToKeycode(display_->connection, modifier);
    if (held != 0) {
        XTestFakeKeyEvent(display_->connection, held, True, CurrentTime);
    }
    XTestFakeKeyEvent(display_->connection, code, True, CurrentTime);
    XTestFakeKeyEvent(display_->connection, code, False, CurrentTime);
    if (held != 0) {
        XTestFakeKeyEvent(display_->connection, held, False, CurrentTime);
    }
    XSync(display_->connection, False);
}

void User::key(const char *keyName) {
    strike(XStringToKeysym(keyName), NoSymbol);
}

void User::keyWithControl(const char *keyName) {
    strike(XStringToKeysym(keyName), XK_Control_L);
}

void User::type(const QString &latinText) {
    for (const QChar character : latinText) { // a Latin-1 character is its own keysym
        const bool isShifted = character.isUpper() || character == u'_';
        strike(character.unicode(), isShifted ? XK_Shift_L : NoSymbol);
    }
}

void User::tabTo(const QString &objectName) {
    for (int presses = 0; presses < 30 && !hasFocus(objectName); ++presses) {
        QWidget *before = nullptr;
        onMain([&] { before = QApplication::focusWidget(); });
        key("Tab");
        waitFor([&] { return QApplication::focusWidget() != before; }, "the focus to move");
    }
    EXPECT_TRUE(hasFocus(objectName)) << "Tab does not lead to " << qPrintable(objectName);
}

void User::onMain(const std::function<void()> &look) {
    kyb::onMainThreadAndWait(look);
}

void User::waitFor(const std::function<bool()> &conditionOnMainThread, const char *what) {
    QElapsedTimer waiting;
    waiting.start();
    bool holds = false;
    while (!holds) {
        onMain([&] { holds = conditionOnMainThread(); });
        if (!holds && waiting.elapsed() > kWaitLimitMilliseconds) {
            ADD_FAILURE() << "waited in vain for " << what;
            return;
        }
        QThread::msleep(5);
    }
}

void User::waitForVisible(const QString &objectName) {
    waitFor([&] { return find(objectName) != nullptr && find(objectName)->isVisible(); },
            qPrintable(objectName + QStringLiteral(" to be visible")));
}

void User::waitForActive(const QString &objectName) {
    waitFor(
        [&] {
            return QApplication::activeWindow() != nullptr && QApplication::activeWindow()->objectName() == objectName;
        },
        qPrintable(objectName + QStringLiteral(" to be active")));
}

void User::waitForGone(const QString &objectName) {
    waitFor([&] { return find(objectName) == nullptr || !find(objectName)->isVisible(); },
            qPrintable(objectName + QStringLiteral(" to be gone")));
}

void User::waitForTheDragsEnd(const QString &fromObjectName) {
    waitFor([&] { return hasDragEnded(find(fromObjectName)); }, "the drag to end");
}

void User::waitForText(const QString &objectName, const QString &part) {
    waitFor([&] { return find(objectName) != nullptr && find(objectName)->property("text").toString().contains(part); },
            qPrintable(objectName + QStringLiteral(" to say ") + part));
}

bool User::isVisible(const QString &objectName) {
    bool result = false;
    onMain([&] { result = find(objectName) != nullptr && find(objectName)->isVisible(); });
    return result;
}

bool User::isEnabled(const QString &objectName) {
    bool result = false;
    onMain([&] { result = find(objectName) != nullptr && find(objectName)->isEnabled(); });
    return result;
}

bool User::hasFocus(const QString &objectName) {
    bool result = false;
    onMain([&] { result = find(objectName) != nullptr && find(objectName)->hasFocus(); });
    return result;
}

QString User::text(const QString &objectName) {
    QString result;
    onMain([&] { result = find(objectName)->property("text").toString(); });
    return result;
}

QRect User::frameOf(const QString &objectName) {
    QRect result;
    onMain([&] {
        const QWidget *widget = find(objectName);
        const qreal scale = widget->devicePixelRatioF();
        const QPoint origin = widget->mapToGlobal(QPoint(0, 0));
        result = QRect((QPointF(origin) * scale).toPoint(), (QSizeF(widget->size()) * scale).toSize());
    });
    return result;
}

QPoint User::restingCenterOf(const QString &objectName) {
    QPoint before;
    QPoint now = centerOf(objectName);
    while (before != now) { // a screen that has just come is still being laid out
        before = now;
        QThread::msleep(30);
        now = centerOf(objectName);
    }
    return now;
}

QPoint User::centerOf(const QString &objectName) {
    return frameOf(objectName).center();
}
