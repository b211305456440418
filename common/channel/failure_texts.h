#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace kyb {

/// A line of the installer's output that holds one of these, anywhere, tells that the installation failed.
inline constexpr std::array<std::string_view, 4> kFailureTexts{
    "installer: The install failed",
    "installer: The upgrade failed",
    "installer: Certificate used to sign package is not trusted",
    "installer: Error - the package path specified was invalid:",
};

/// Where the first failure text of \p line begins; `npos` when it holds none.
constexpr std::string_view::size_type findFailureText(std::string_view line) {
    auto first = std::string_view::npos;
    for (const std::string_view text : kFailureTexts) {
        first = std::min(first, line.find(text));
    }
    return first;
}

} // namespace kyb
