#include "platform/clock.h"

#include <thread>

namespace kyb {

void sleepFor(std::chrono::milliseconds duration) {
    std::this_thread::sleep_for(duration);
}

} // namespace kyb
