#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

// What a mutex guards is said in its declaration, and Clang holds every use to it (-Wthread-safety). The standard
// library's mutex says nothing to that check, hence the two classes below.
#if defined(__clang__)
#define KYB_THREAD_ANNOTATION(annotation) __attribute__((annotation))
#else
#define KYB_THREAD_ANNOTATION(annotation)
#endif

/// On a member or a static variable: only whoever holds \p mutex reads or writes it.
#define GUARDED_BY(mutex) KYB_THREAD_ANNOTATION(guarded_by(mutex))

namespace kyb {

class KYB_THREAD_ANNOTATION(capability("mutex")) Mutex {
private:
    friend class MutexLock;
    std::mutex mutex_;
};

/// Holds a mutex as long as it lives.
class KYB_THREAD_ANNOTATION(scoped_lockable) MutexLock {
public:
    explicit MutexLock(Mutex &mutex) KYB_THREAD_ANNOTATION(acquire_capability(mutex)) : lock_(mutex.mutex_) {}
    ~MutexLock() KYB_THREAD_ANNOTATION(release_capability()) {}
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;

    /// Lets go of the mutex until \p condition is notified, or for no reason: to be called in a loop that looks.
    // NB: no predicate is taken. It would be a function of its own, which the check knows to hold nothing.
    void wait(std::condition_variable &condition) { condition.wait(lock_); }

    /// The same, until \p deadline at most: false when that has passed.
    bool waitUntil(std::condition_variable &condition, std::chrono::steady_clock::time_point deadline) {
        return condition.wait_until(lock_, deadline) == std::cv_status::no_timeout;
    }

private:
    std::unique_lock<std::mutex> lock_;
};

} // namespace kyb
