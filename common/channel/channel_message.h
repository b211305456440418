#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What goes over the command channel's socket: frames of a 4-byte big-endian length and that many bytes, a binary
// property list. Pure; any thread.

namespace kyb {

/// The longest property list that a frame may hold.
inline constexpr std::size_t kMaxMessageBytes = std::size_t{1} << 20;

inline constexpr std::size_t kFrameHeaderBytes = 4;

/// The frame that carries the dictionary of \p texts (keys and UTF-8 texts), or nothing when it would be too long.
std::optional<std::string> encodeFrame(const std::vector<std::pair<std::string, std::string>> &texts);

/// A dictionary's keys; with each its text in UTF-8, or nothing when the value is no text.
using ChannelMessage = std::map<std::string, std::optional<std::string>, std::less<>>;

/// The dictionary that \p propertyList holds, or nothing when it is no binary property list or no dictionary.
std::optional<ChannelMessage> decodeMessage(std::string_view propertyList);

} // namespace kyb
