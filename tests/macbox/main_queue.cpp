#include "Queue.h"

#include <QCoreApplication>
#include <cstdlib>
#include <cstring>
#include <dispatch/dispatch.h>

// Promise: what is on the main queue runs on the main thread, as its run loop turns. The toolkit's event loop on macOS
// is a run loop when there are screens, and without them when a variable asks for one before the application object is
// made. Any other loop leaves what is on the queue where it is.

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
