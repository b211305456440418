#pragma once

#include "posix/Mutex.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <set>

namespace kyb {

/// The events that may still be delivered, so that others can wait until they were. Any thread.
class PendingEvents {
public:
    /// Stands for one event, and never for another one later. 0 stands for none.
    using Serial = std::uint64_t;

    /// Notes one more.
    Serial add();

    /// Notes that an event was delivered, or will not come. Does nothing when that was noted before.
    void settle(Serial serial);

    /// Calls \p handler for an event that came, and settles it; drops it when it is one of before the last `forget()`.
    /// Handlers are called one after the other and use nothing of this object.
    void deliver(Serial serial, const std::function<void()> &handler);

    /// Drops what comes from now on of the events that were noted before. No handler of theirs runs when this returns.
    void forget();

    /// Returns when no event is pending. Never called by an event's handler.
    void wait();

    /// The same, at most for \p limit. \return whether none is pending.
    bool waitFor(std::chrono::milliseconds limit);

private:
    Mutex delivery_; ///< held while a handler runs; taken before the other one
    Serial lastForgotten_ GUARDED_BY(delivery_) = 0;
    Mutex mutex_;
    std::condition_variable noneLeft_;
    std::set<Serial> pending_ GUARDED_BY(mutex_);
    Serial last_ GUARDED_BY(mutex_) = 0;
};

} // namespace kyb
