#include "signal_watch.h"

#include "install_error.h"

#include <poll.h>

#include <algorithm>
#include <array>

namespace kyb::macroot {

namespace {

constexpr std::array endSignals{SIGTERM, SIGINT, SIGHUP};

sigset_t endSignalSet() {
    sigset_t set;
    sigemptyset(&set);
    std::ranges::for_each(endSignals, [&set](int signal) { sigaddset(&set, signal); });
    return set;
}

} // namespace

SignalWatch::SignalWatch() {
    const sigset_t set = endSignalSet();
    ::sigprocmask(SIG_BLOCK, &set, &m_earlierMask);
}

SignalWatch::~SignalWatch() {
    const sigset_t set = endSignalSet();
    constexpr timespec atOnce{0, 0};
    while (::sigtimedwait(&set, nullptr, &atOnce) > 0) {
    }
    ::sigprocmask(SIG_SETMASK, &m_earlierMask, nullptr);
}

bool SignalWatch::ending() const {
    sigset_t pending;
    ::sigpending(&pending);
    return std::ranges::any_of(endSignals, [&pending](int signal) { return sigismember(&pending, signal) == 1; });
}

void SignalWatch::check() const {
    if (ending()) {
        throw InstallError("The installation was interrupted.");
    }
}

void SignalWatch::wait(std::chrono::milliseconds time) const {
    const auto end = std::chrono::steady_clock::now() + time;
    while (!ending() && std::chrono::steady_clock::now() < end) {
        ::poll(nullptr, 0, 10);
    }
}

} // namespace kyb::macroot
