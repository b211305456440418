#include "posix/PendingEvents.h"

namespace kyb {

PendingEvents::Serial PendingEvents::add() {
    const MutexLock lock(mutex_);
    pending_.insert(++last_);
    return last_;
}

void PendingEvents::settle(Serial serial) {
    const MutexLock lock(mutex_);
    pending_.erase(serial);
    if (pending_.empty()) {
        noneLeft_.notify_all();
    }
}

void PendingEvents::deliver(Serial serial, const std::function<void()> &handler) {
    {
        const MutexLock lock(delivery_);
        if (serial > lastForgotten_) {
            handler();
        }
    }
    settle(serial);
}

void PendingEvents::forget() {
    const MutexLock delivery(delivery_);
    const MutexLock lock(mutex_);
    lastForgotten_ = last_;
}

void PendingEvents::wait() {
    MutexLock lock(mutex_);
    while (!pending_.empty()) {
        lock.wait(noneLeft_);
    }
}

bool PendingEvents::waitFor(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    MutexLock lock(mutex_);
    while (!pending_.empty() && lock.waitUntil(noneLeft_, deadline)) {
    }
    return pending_.empty();
}

} // namespace kyb
