#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace kyb::test {

/// Turns the main thread's event loop until \p condition holds. False when it does not within 40 seconds. Needs an
/// application object. Main thread.
template <typename Condition> [[nodiscard]] bool turnUntil(Condition condition) {
    using namespace std::chrono_literals;
    QTimer look; // some conditions come true without an event
    look.start(1ms);
    const QDeadlineTimer deadline(40s);
    while (!condition() && !deadline.hasExpired()) {
        // NB: without a time limit; with one it would not sleep, and keep the processor from those who are waited for
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return condition();
}

} // namespace kyb::test
