#pragma once

#include <chrono>
#include <csignal>

namespace kyb::macroot {

/// Holds back the signals that ask a program to end, for as long as it lives, so that the work can stop where it is
/// safe: it is asked for with ending(). Its end takes the signals that came as seen. One thread only; to be made before
/// any other work.
class SignalWatch {
public:
    SignalWatch();
    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;
    ~SignalWatch();

    /// Whether such a signal has come.
    bool ending() const;
    /// Throws InstallError when such a signal has come.
    void check() const;
    /// Waits this long, or until such a signal comes.
    void wait(std::chrono::milliseconds time) const;

private:
    sigset_t earlierMask_ = {};
};

} // namespace kyb::macroot
