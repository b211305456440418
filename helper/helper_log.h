#pragma once

#include <string_view>

namespace kyb::helper {

/// Writes one dated line to standard error; what would break the line is shown as "?". Any thread.
void logLine(std::string_view text);

} // namespace kyb::helper
