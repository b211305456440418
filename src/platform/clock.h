#pragma once

#include <chrono>

namespace kyb {

/// Blocks the calling thread for at least \p duration. Never called on the main thread.
void sleepFor(std::chrono::microseconds duration);

} // namespace kyb
