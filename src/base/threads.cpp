#include "base/threads.h"

#include "posix/Mutex.h"
#include "posix/NoDestructor.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace kyb {
namespace {

const QEvent::Type kTurn = static_cast<QEvent::Type>(QEvent::registerEventType());

/// The tasks that wait for the main thread. The event that is posted says only that there are some.
///
/// What we would like to write is QMetaObject::invokeMethod(application, task). That was tried and is racy under
/// ThreadSanitizer, which sees nothing of how Qt's own library orders the task's making on one thread and its running
/// and its end on the other. This queue's mutex orders them, and keeps the order of the calls as well.
class MainQueue {
public:
    void add(std::function<void()> task) {
        const MutexLock lock(mutex_);
        tasks_.push_back(std::move(task));
    }

    std::function<void()> takeFirst() {
        const MutexLock lock(mutex_);
        if (tasks_.empty()) {
            return {};
        }
        std::function<void()> first = std::move(tasks_.front());
        tasks_.pop_front();
        return first;
    }

    bool isEmpty() {
        const MutexLock lock(mutex_);
        return tasks_.empty();
    }

private:
    Mutex mutex_;
    std::deque<std::function<void()>> tasks_ GUARDED_BY(mutex_);
};

MainQueue &mainQueue() {
    static NoDestructor<MainQueue> queue;
    return *queue;
}

/// Lives in the main thread, as a child of the application object, and runs one task for each event.
class MainQueueReceiver : public QObject {
public:
    using QObject::QObject;

protected:
    bool event(QEvent *event) override {
        if (event->type() != kTurn) {
            return QObject::event(event);
        }
        if (const std::function<void()> task = mainQueue().takeFirst()) {
            task();
        }
        return true;
    }
};

std::atomic<MainQueueReceiver *> receiver{nullptr};

void makeReceiver() {
    receiver = new MainQueueReceiver(QCoreApplication::instance());
    QObject::connect(receiver, &QObject::destroyed, [] { receiver = nullptr; });
}
Q_COREAPP_STARTUP_FUNCTION(makeReceiver)

std::atomic<int> runningTasks{0};

} // namespace

void onMainThread(std::function<void()> task) {
    if (MainQueueReceiver *target = receiver) {
        mainQueue().add(std::move(task));
        QCoreApplication::postEvent(target, new QEvent(kTurn));
    }
}

void onMainThreadAndWait(std::function<void()> task) {
    if (isMainThread()) {
        task();
        return;
    }
    struct Done {
        Mutex mutex;
        std::condition_variable changed;
        bool ended GUARDED_BY(mutex) = false;
    } done;
    onMainThread([&] {
        task();
        const MutexLock lock(done.mutex);
        done.ended = true;
        done.changed.notify_one();
    });
    MutexLock lock(done.mutex);
    while (!done.ended) {
        lock.wait(done.changed);
    }
}

void startInBackground(std::function<void()> task) {
    ++runningTasks;
    try {
        std::thread([task = std::move(task)]() mutable {
            task();
            task = nullptr; // what the task holds goes before it counts as ended
            --runningTasks;
        }).detach();
    } catch (const std::system_error &error) {
        std::fprintf(stderr, "No thread can be started: %s\n", error.what());
        endProcess(1);
    }
}

// NB: weak. The tests of the rooms have one that tells of the task first (tests/fakes/BackgroundTasks.cpp).
[[gnu::weak]] void inBackground(std::function<void()> task) {
    startInBackground(std::move(task));
}

void yieldThread() {
    std::this_thread::yield();
}

bool isMainThread() {
    const QCoreApplication *application = QCoreApplication::instance();
    return application == nullptr || application->thread() == QThread::currentThread();
}

bool isIdle() {
    return runningTasks == 0 && mainQueue().isEmpty(); // NB: in this order; what runs may still queue something
}

void endProcess(int status) {
    std::fflush(nullptr);
    _exit(status); // NB: not exit(): static objects must outlive the threads that still run
}

} // namespace kyb
