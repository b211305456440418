#include "Service.h"

#include "helper_log.h"
#include "helper_signals.h"

#include <algorithm>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kyb::helper {
namespace {

using namespace std::chrono_literals;
using TimePoint = SteadyClock::time_point;

/// How soon a listener that could not close is told again.
constexpr auto kEndRetry = 10ms;

int millisecondsUntil(TimePoint time) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - SteadyClock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds>(left, 0ms, 1h).count());
}

class Service {
public:
    Service(Listener &listener, const ServiceOptions &options)
        : listener_(listener), idle_(options.idle), commands_(options.commands) {}

    void run() {
        listener_.open();
        idleUntil_ = SteadyClock::now() + idle_;
        while (listener_.isListening() || !isIdle()) {
            waitForWork();
            if (takeSignals() == StopRequest::Received) {
                stop();
            }
            listener_.takeRequests(commands_);
            commands_.work();
            endWhenIdle();
        }
    }

private:
    bool isIdle() const { return !listener_.isBusy() && commands_.isEmpty(); }

    void waitForWork() {
        const bool wasIdle = isIdle();
        std::vector<pollfd> wanted; // poll() passes over a negative descriptor
        for (const int fd : listener_.descriptors(commands_)) {
            wanted.push_back({.fd = fd, .events = POLLIN, .revents = 0});
        }
        wanted.push_back({.fd = signals_, .events = POLLIN, .revents = 0});
        wanted.push_back({.fd = commands_.outputFd(), .events = POLLIN, .revents = 0});
        poll(wanted.data(), wanted.size(), millisecondsUntil(nextDeadline()));
        if (!wasIdle) { // and may be idle now
            idleUntil_ = SteadyClock::now() + idle_;
        }
    }

    TimePoint nextDeadline() const {
        return std::min({isIdle() ? idleUntil_ : TimePoint::max(), commands_.deadline(), listener_.deadline()});
    }

    void stop() {
        logLine("Asked to end.");
        listener_.closeNow();
        commands_.endAll();
    }

    void endWhenIdle() {
        if (listener_.isListening() && isIdle() && SteadyClock::now() >= idleUntil_) {
            listener_.close();
            idleUntil_ = SteadyClock::now() + kEndRetry;
        }
    }

    Listener &listener_;
    const std::chrono::milliseconds idle_;
    CommandQueue commands_;
    const int signals_ = watchSignals(); // NB: before the listener is opened, which may start threads
    TimePoint idleUntil_;
};

} // namespace

int serve(Listener &listener, const ServiceOptions &options) {
    ignoreSignalsOfWriting();
    umask(022);
    if (chdir("/") != 0) {
        return 1;
    }
    logLine("Ready.");
    Service(listener, options).run();
    logLine("End.");
    return 0;
}

} // namespace kyb::helper
