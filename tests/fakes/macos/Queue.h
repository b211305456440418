#pragma once

#include "FakeMacOS.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

/// A serial queue: with a thread of its own, or the main one, which is emptied by whoever calls `fake::drainMainQueue`.
struct dispatch_queue_s {
public:
    enum class Kind { OwnThread, Main };
    explicit dispatch_queue_s(Kind kind);

    void add(std::function<void()> task);

    /// Runs the first task that waits, on the calling thread. \return whether there was one.
    bool runOne();
    void waitUntilIdle();

private:
    [[noreturn]] void workForEver();

    const Kind kind_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;
    bool running_ = false;
};
