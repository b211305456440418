#include "platform/clock.h"

#include <cerrno>
#include <ctime>

namespace kyb {

void sleepFor(std::chrono::microseconds duration) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
    const std::chrono::nanoseconds rest = duration - seconds;
    timespec left{.tv_sec = seconds.count(), .tv_nsec = rest.count()};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

} // namespace kyb
