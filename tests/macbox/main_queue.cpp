#include "Queue.h"

#include <QCoreApplication>
#include <cstdlib>
#include <cstring>
#include <dispatch/dispatch.h>

// "The main queue is created automatically and associated with the main thread. (...) An app empties it by running the
// main run loop": the toolkit's event loop on macOS is one when there are screens, and without them when it is asked
// for by a variable before the application object is made. Any other loop leaves what is on the queue where it is.

struct dispatch_queue_s _dispatch_main_q(dispatch_queue_s::Kind::Main);

namespace {

bool hasRunLoop() {
    const char *wanted = std::getenv("QT_EVENT_DISPATCHER_CORE_FOUNDATION");
    return QCoreApplication::instance()->inherits("QGuiApplication") ||
           (wanted != nullptr && std::strcmp(wanted, "1") == 0);
}

void emptyMainQueue() {
    while (_dispatch_main_q.runOne()) {
    }
}

void joinRunLoop() {
    if (hasRunLoop()) {
        _dispatch_main_q.setWake([] { QMetaObject::invokeMethod(qApp, emptyMainQueue, Qt::QueuedConnection); });
    }
}
Q_COREAPP_STARTUP_FUNCTION(joinRunLoop)

} // namespace
