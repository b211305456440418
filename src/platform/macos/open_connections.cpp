#include "platform/macos/open_connections.h"

#include "posix/Mutex.h"

#include <set>

namespace kyb {
namespace {

struct OpenConnections {
    Mutex mutex;
    std::condition_variable noneLeft;
    std::set<HelperConnection> connections GUARDED_BY(mutex);
};

OpenConnections &open() {
    static auto *const connections = new OpenConnections; // NB: never destroyed; events may come at any time
    return *connections;
}

} // namespace

void noteOpen(HelperConnection connection) {
    const MutexLock lock(open().mutex);
    open().connections.insert(connection);
}

void noteSettled(HelperConnection connection) {
    const MutexLock lock(open().mutex);
    open().connections.erase(connection);
    if (open().connections.empty()) {
        open().noneLeft.notify_all();
    }
}

void waitForOpenConnections(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    MutexLock lock(open().mutex);
    while (!open().connections.empty() && lock.waitUntil(open().noneLeft, deadline)) {
    }
}

} // namespace kyb
