#pragma once

#include <optional>
#include <string_view>

namespace kyb::macroot {

/// The content of a section of a program for macOS (Mach-O for 64 bits); in a universal program, of the first one in
/// it. Nothing when the file is no such program, is cut off, or has no such section.
std::optional<std::string_view> machSection(std::string_view file, std::string_view segment, std::string_view section);

} // namespace kyb::macroot
