#include "platform/macos/open_connections.h"

#include <condition_variable>
#include <mutex>
#include <set>

namespace kyb {
namespace {

struct OpenConnections {
    std::mutex mutex;
    std::condition_variable noneLeft;
    std::set<HelperConnection> connections;
};

OpenConnections &open() {
    static auto *const connections = new OpenConnections; // NB: never destroyed; events may come at any time
    return *connections;
}

} // namespace

void noteOpen(HelperConnection connection) {
    const std::lock_guard lock(open().mutex);
    open().connections.insert(connection);
}

void noteSettled(HelperConnection connection) {
    const std::lock_guard lock(open().mutex);
    open().connections.erase(connection);
    if (open().connections.empty()) {
        open().noneLeft.notify_all();
    }
}

void waitForOpenConnections(std::chrono::milliseconds limit) {
    std::unique_lock lock(open().mutex);
    open().noneLeft.wait_for(lock, limit, [] { return open().connections.empty(); });
}

} // namespace kyb
