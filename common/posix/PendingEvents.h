#pragma once

#include "posix/Mutex.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
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

    /// Returns when no event is pending. Never called by an event's handler.
    void wait();

    /// The same, at most for \p limit. \return whether none is pending.
    bool waitFor(std::chrono::milliseconds limit);

private:
    Mutex mutex_;
    std::condition_variable noneLeft_;
    std::set<Serial> pending_ GUARDED_BY(mutex_);
    Serial last_ GUARDED_BY(mutex_) = 0;
};

} // namespace kyb
