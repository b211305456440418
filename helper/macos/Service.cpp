#include "macos/Service.h"

#include "helper_log.h"
#include "helper_signals.h"
#include "macos/Listener.h"

#include <algorithm>
#include <array>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kyb::helper {
namespace {

using namespace std::chrono_literals;
using TimePoint = SteadyClock::time_point;

int millisecondsUntil(TimePoint time) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - SteadyClock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds>(left, 0ms, 1h).count());
}

class Service {
public:
    explicit Service(ServiceOptions options) : options_(std::move(options)), commands_(options_.commands) {}

    int run() {
        const int signals = watchSignals();
        listener_ = startListening(inbox_, options_.progressFile);
        idleUntil_ = SteadyClock::now() + options_.idle;
        while (!mayEnd()) {
            waitForWork(signals);
            if (takeSignals() == Wish::End) {
                logLine("Asked to end.");
                close();
                commands_.endAll();
            }
            for (CommandRequest &request : inbox_->takeRequests()) {
                commands_.add(std::move(request));
            }
            commands_.work();
            if (isIdle() && SteadyClock::now() >= idleUntil_) {
                close();
            }
        }
        logLine("End.");
        return 0;
    }

private:
    bool isIdle() const { return inbox_->isQuiet() && commands_.isEmpty(); }

    /// NB: a service that has nothing to do stops listening first, and serves whoever came until that has come true.
    bool mayEnd() const { return inbox_->isClosed() && inbox_->isQuiet() && commands_.isEmpty(); }

    void close() {
        if (isListening_) {
            isListening_ = false;
            stopListening(listener_);
        }
    }

    void waitForWork(int signals) {
        if (!isIdle()) {
            idleUntil_ = SteadyClock::now() + options_.idle;
        }
        const bool waitsForIdle = isListening_ && isIdle();
        const TimePoint next =
            std::min(waitsForIdle ? idleUntil_ : TimePoint::max(), commands_.deadline());
        std::array<pollfd, 3> wanted{}; // poll() passes over a negative descriptor
        wanted[0] = {.fd = signals, .events = POLLIN, .revents = 0};
        wanted[1] = {.fd = inbox_->wakeFd(), .events = POLLIN, .revents = 0};
        wanted[2] = {.fd = commands_.outputFd(), .events = POLLIN, .revents = 0};
        poll(wanted.data(), wanted.size(), next == TimePoint::max() ? -1 : millisecondsUntil(next));
    }

    const ServiceOptions options_;
    const std::shared_ptr<Inbox> inbox_ = std::make_shared<Inbox>();
    CommandQueue commands_;
    xpc_connection_t listener_ = nullptr;
    bool isListening_ = true;
    TimePoint idleUntil_;
};

} // namespace

int serve(ServiceOptions options) {
    umask(022);
    if (chdir("/") != 0) {
        return 1;
    }
    return Service(std::move(options)).run();
}

} // namespace kyb::helper
