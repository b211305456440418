#include "signal_watch.h"

#include "install_error.h"

#include <algorithm>
#include <array>
#include <poll.h>

namespace kyb::macroot {
namespace {

constexpr std::array kEndSignals{SIGTERM, SIGINT, SIGHUP};

sigset_t endSignalSet() {
    sigset_t set;
    sigemptyset(&set);
    std::ranges::for_each(kEndSignals, [&set](int signal) { sigaddset(&set, signal); });
    return set;
}

} // namespace

SignalWatch::SignalWatch() {
    const sigset_t set = endSignalSet();
    sigprocmask(SIG_BLOCK, &set, &earlierMask_);
}

SignalWatch::~SignalWatch() {
    const sigset_t set = endSignalSet();
    constexpr timespec atOnce{0, 0};
    while (sigtimedwait(&set, nullptr, &atOnce) > 0) {
    }
    sigprocmask(SIG_SETMASK, &earlierMask_, nullptr);
}

bool SignalWatch::ending() const {
    sigset_t pending;
    sigpending(&pending);
    return std::ranges::any_of(kEndSignals, [&pending](int signal) { return sigismember(&pending, signal) == 1; });
}

void SignalWatch::check() const {
    if (ending()) {
        throw InstallError("The installation was interrupted.");
    }
}

void SignalWatch::wait(std::chrono::milliseconds time) const {
    const auto end = std::chrono::steady_clock::now() + time;
    while (!ending() && std::chrono::steady_clock::now() < end) {
        poll(nullptr, 0, 10);
    }
}

} // namespace kyb::macroot
