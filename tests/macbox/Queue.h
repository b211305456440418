#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

/// A serial queue: one after the other, in the order in which they were added. Queues live for ever, as their threads
/// do.
struct dispatch_queue_s {
public:
    enum class Kind { OwnThread, Main };
    explicit dispatch_queue_s(Kind kind);

    bool isMain() const { return kind_ == Kind::Main; }

    void add(std::function<void()> task);

    /// Runs the first task that waits, on the calling thread. \return whether there was one.
    bool runOne();

    /// Returns when nothing waits or runs.
    void waitUntilIdle();

    /// What tells the main thread's run loop that the main queue has work; for the main queue only.
    void setWake(std::function<void()> wake);

private:
    [[noreturn]] void workForEver();

    const Kind kind_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;
    std::function<void()> wake_;
    bool running_ = false;
};

namespace macbox {

/// A queue that stands for a null target queue: of its own, so that nobody waits for another's handler.
struct dispatch_queue_s *makeQueue();

/// Returns when nothing waits or runs on any queue but the main one.
void waitForQueues();

} // namespace macbox
