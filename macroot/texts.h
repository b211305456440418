#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kyb::macroot {

/// What stands before, between and behind the separators; nothing for an empty text.
inline std::vector<std::string> splitText(std::string_view text, char separator) {
    std::vector<std::string> parts;
    if (!text.empty()) {
        parts.resize(static_cast<std::size_t>(std::ranges::count(text, separator)) + 1);
    }
    for (std::string &part : parts) {
        const std::size_t end = std::min(text.find(separator), text.size());
        part = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

/// The text with its ASCII letters made small.
inline std::string lowered(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return result;
}

/// Takes a character off the front of UTF-8, which must not be empty. Where none stands: nothing, and a byte is taken.
std::optional<char32_t> takeCharacter(std::string_view &text);

/// The text with every control character made a blank, so that a text from a package stays within its line, and every
/// byte that is no UTF-8 made U+FFFD.
std::string printable(std::string_view text);

} // namespace kyb::macroot
