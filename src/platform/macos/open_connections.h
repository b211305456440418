#pragma once

#include "platform/helper_connection.h"

#include <chrono>

// The connections of which it is not known yet how they fare: resumed, and neither an event nor the reply has come.
// All functions: any thread.

namespace kyb {

void noteOpen(HelperConnection connection);

/// Notes that an event or the reply of \p connection was delivered. Does nothing when one was before.
void noteSettled(HelperConnection connection);

/// Waits until no connection is open, at most \p limit: a helper that works on a long command leaves one open.
void waitForOpenConnections(std::chrono::milliseconds limit);

} // namespace kyb
