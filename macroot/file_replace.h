#pragma once

#include <string>
#include <string_view>

namespace kyb::macroot {

/// Puts a file with this text in the place of the one at `path`, in one step; mode and owner stay, a link to the file
/// stays a link. Makes the file when there is none. Throws std::system_error; the earlier file is then as it was.
void replaceFile(const std::string &path, std::string_view text);

} // namespace kyb::macroot
