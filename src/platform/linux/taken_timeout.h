#pragma once

#include "platform/helper_connection.h"

#include <chrono>

namespace kyb {

/// How long a message that names a progress file is waited for until a helper has taken it: longer than a helper waits
/// for the one before it to end (30 s).
constexpr std::chrono::milliseconds kTakenTimeout = std::chrono::seconds(35);

/// Sets another time, before the message is sent. For those who cannot wait for so long. Not null. Any thread.
void setTakenTimeout(HelperConnection connection, std::chrono::milliseconds timeout);

} // namespace kyb
