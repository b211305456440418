// The end of a progress file, as the program reads it: the plain definition, to compare with.

#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// The first of the last \p count lines of \p content, with its line feed; at most as much of it as the program takes.
/// Empty when there is none.
inline std::string firstOfLastLines(std::size_t count, std::string_view content) {
    constexpr std::size_t kMostBytes = 1023;
    std::size_t begin = content.size();
    for (; begin > 0 && count > 0; --count) {
        const std::size_t end = begin - (content[begin - 1] == '\n' ? 1 : 0);
        const std::size_t before = end == 0 ? std::string_view::npos : content.rfind('\n', end - 1);
        begin = before == std::string_view::npos ? 0 : before + 1;
    }
    const std::size_t length = std::min(content.find('\n', begin), content.size() - 1) + 1 - begin;
    return content.empty() ? std::string() : std::string(content.substr(begin, std::min(length, kMostBytes)));
}
