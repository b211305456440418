#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace kyb::macroot {

/// The text with every control character made a blank, so that a text from a package stays within its line.
inline std::string printable(std::string_view text) {
    std::string line(text);
    std::ranges::replace_if(
        line, [](unsigned char c) { return c < 0x20 || c == 0x7f; }, ' ');
    return line;
}

} // namespace kyb::macroot
