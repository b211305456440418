#include "Queue.h"

#include "box.h"
#include "posix/NoDestructor.h"

#include <dispatch/dispatch.h>
#include <vector>

dispatch_queue_s::dispatch_queue_s(Kind kind) : kind_(kind) {
    if (kind_ == Kind::OwnThread) {
        macbox::onOwnThread([this] { workForEver(); });
    }
}

void dispatch_queue_s::add(std::function<void()> task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    changed_.notify_all();
    if (wake_) {
        wake_();
    }
}

void dispatch_queue_s::setWake(std::function<void()> wake) {
    const std::lock_guard lock(mutex_);
    wake_ = std::move(wake);
    if (!tasks_.empty()) {
        wake_();
    }
}

bool dispatch_queue_s::runOne() {
    std::function<void()> task;
    {
        const std::lock_guard lock(mutex_);
        if (tasks_.empty()) {
            return false;
        }
        task = std::move(tasks_.front());
        tasks_.pop_front();
        running_ = true;
    }
    task();
    task = nullptr;
    const std::lock_guard lock(mutex_);
    running_ = false;
    changed_.notify_all();
    return true;
}

void dispatch_queue_s::workForEver() {
    for (;;) {
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return !tasks_.empty(); });
        }
        runOne();
    }
}

void dispatch_queue_s::waitUntilIdle() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return tasks_.empty() && !running_; });
}

namespace {

struct Queues {
    std::mutex mutex;
    std::vector<dispatch_queue_s *> all;
};
Queues &queues() {
    static kyb::NoDestructor<Queues> queues;
    return *queues;
}

} // namespace

namespace macbox {

dispatch_queue_s *makeQueue() {
    auto *queue = new dispatch_queue_s(dispatch_queue_s::Kind::OwnThread);
    const std::lock_guard lock(queues().mutex);
    queues().all.push_back(queue);
    return queue;
}

void waitForQueues() {
    std::vector<dispatch_queue_s *> all;
    {
        const std::lock_guard lock(queues().mutex);
        all = queues().all;
    }
    for (dispatch_queue_s *queue : all) {
        queue->waitUntilIdle();
    }
}

} // namespace macbox

/// Promise (page "dispatch_queue_create"): with a null attribute one block after the other, in their order.
extern "C" dispatch_queue_t dispatch_queue_create(const char *label, dispatch_queue_attr_t attributes) {
    macbox::record("dispatch_queue_create label=" + std::string(label) +
                   " attributes=" + (attributes == nullptr ? "null" : "set"));
    return macbox::makeQueue();
}
