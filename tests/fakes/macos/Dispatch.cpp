#include "Queue.h"

#include "posix/NoDestructor.h"

#include <Block.h>
#include <QCoreApplication>
#include <unistd.h>

struct dispatch_queue_s _dispatch_main_q(dispatch_queue_s::Kind::Main);

dispatch_queue_s::dispatch_queue_s(Kind kind) : kind_(kind) {
    if (kind_ == Kind::OwnThread) {
        std::thread([this] { workForEver(); }).detach();
    }
}

void dispatch_queue_s::add(std::function<void()> task) {
    {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    changed_.notify_all();
    if (kind_ == Kind::Main && QCoreApplication::instance() != nullptr) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [] { fake::drainMainQueue(); }, Qt::QueuedConnection);
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
    {
        const std::lock_guard lock(mutex_);
        running_ = false;
    }
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

/// Every queue with a thread of its own. Queues live for ever, as their threads do.
struct Queues {
    std::mutex mutex;
    std::vector<dispatch_queue_s *> all;
};
Queues &queues() {
    static kyb::NoDestructor<Queues> queues;
    return *queues;
}

dispatch_queue_s *makeQueue() {
    auto *queue = new dispatch_queue_s(dispatch_queue_s::Kind::OwnThread);
    const std::lock_guard lock(queues().mutex);
    queues().all.push_back(queue);
    return queue;
}

} // namespace

namespace fake {

dispatch_queue_t defaultQueue() {
    static dispatch_queue_s *const queue = makeQueue();
    return queue;
}

void drainMainQueue() {
    while (_dispatch_main_q.runOne()) {
    }
}

void waitForQueues() {
    // Twice over all: what one queue ran may have given work to one that was idle before.
    for (int round = 0; round < 2; ++round) {
        std::vector<dispatch_queue_s *> all;
        {
            const std::lock_guard lock(queues().mutex);
            all = queues().all;
        }
        for (dispatch_queue_s *queue : all) {
            queue->waitUntilIdle();
        }
    }
}

} // namespace fake

extern "C" {

void dispatch_async(dispatch_queue_t queue, dispatch_block_t block) {
    dispatch_block_t copy = Block_copy(block);
    queue->add([copy] {
        copy();
        Block_release(copy);
    });
}

dispatch_queue_t dispatch_queue_create(const char *label, dispatch_queue_attr_t attributes) {
    fake::record("dispatch_queue_create label=" + std::string(label) +
                 " attributes=" + (attributes == nullptr ? "null" : "set"));
    return makeQueue();
}

void dispatch_main() {
    fake::record("dispatch_main");
    for (;;) {
        fake::drainMainQueue();
        ::usleep(1000);
    }
}

} // extern "C"
