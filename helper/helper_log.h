#pragma once

#include <string_view>

namespace kyb::helper {

/// Writes one dated line to standard error; what would break the line is shown as "?". A log file that the line would
/// make longer than 1 MiB is begun anew with it. Any thread.
void logLine(std::string_view text);

} // namespace kyb::helper
