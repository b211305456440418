#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kyb::macroot {

/// The longest path that a payload may hold, in bytes.
inline constexpr std::size_t kLongestPayloadPath = 1023;

/// The names between the slashes; "." and empty ones are left out, ".." is kept.
std::vector<std::string_view> pathNames(std::string_view path);

/// A path of an archive in the one form that is used from here on: relative, without "." and doubled slashes, "" for
/// the root itself. Nothing for a path that could lead out of the root (absolute, with "..") or that is too long, as a
/// whole or in one name.
std::optional<std::string> payloadPath(std::string_view raw);

/// The folder that holds \p path; "" for a path of one name.
std::string_view parentPath(std::string_view path);

/// The last name of \p path.
std::string_view leafName(std::string_view path);

/// Both joined by one slash; either may be "".
std::string joinedPath(std::string_view folder, std::string_view path);

/// A path below the root as messages show it: with a slash in front.
std::string shownPath(std::string_view path);

/// Whether a symbolic link at \p linkPath with the text \p target, no longer than a path, points to something below the
/// root.
/// \p linkPath is in the form that payloadPath() gives.
bool linkStaysBelowRoot(std::string_view linkPath, std::string_view target);

} // namespace kyb::macroot
