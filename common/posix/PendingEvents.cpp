#include "posix/PendingEvents.h"

namespace kyb {

PendingEvents::Serial PendingEvents::add() {
    const std::lock_guard lock(mutex_);
    pending_.insert(++last_);
    return last_;
}

void PendingEvents::settle(Serial serial) {
    const std::lock_guard lock(mutex_);
    pending_.erase(serial);
    if (pending_.empty()) {
        noneLeft_.notify_all();
    }
}

void PendingEvents::wait() {
    std::unique_lock lock(mutex_);
    noneLeft_.wait(lock, [this] { return pending_.empty(); });
}

bool PendingEvents::waitFor(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    return noneLeft_.wait_for(lock, limit, [this] { return pending_.empty(); });
}

} // namespace kyb
