#include "mach_section.h"

#include <cstdint>
#include <numeric>

namespace kyb::macroot {
namespace {

constexpr std::uint64_t kUniversalMagic = 0xCAFEBABE;
constexpr std::uint64_t kProgramMagic = 0xFEEDFACF;
constexpr std::uint64_t kProgramHeaderBytes = 32;
constexpr std::uint64_t kCommandHeaderBytes = 8;
constexpr std::uint64_t kSegmentCommand = 0x19;
constexpr std::uint64_t kSegmentHeaderBytes = 72;
constexpr std::uint64_t kSectionBytes = 80;

/// Bytes of a file; what lies beyond its end is "", and 0 as a number.
std::string_view part(std::string_view bytes, std::uint64_t at, std::uint64_t length) {
    return at <= bytes.size() && length <= bytes.size() - at ? bytes.substr(at, length) : std::string_view();
}

std::uint64_t withByte(std::uint64_t value, char byte) {
    return value << 8U | static_cast<unsigned char>(byte);
}

std::uint64_t bigEndian(std::string_view bytes) {
    return std::accumulate(bytes.begin(), bytes.end(), std::uint64_t{0}, withByte);
}

std::uint64_t littleEndian(std::string_view bytes) {
    return std::accumulate(bytes.rbegin(), bytes.rend(), std::uint64_t{0}, withByte);
}

// Names fill 16 bytes, with zeros behind them.
bool isNamed(std::string_view bytes, std::string_view name) {
    return bytes.substr(0, name.size()) == name && bytes.find_first_not_of('\0', name.size()) == std::string_view::npos;
}

std::string_view firstProgram(std::string_view file) {
    const bool isUniversal = bigEndian(part(file, 0, 4)) == kUniversalMagic;
    return isUniversal ? part(file, bigEndian(part(file, 16, 4)), bigEndian(part(file, 20, 4))) : file;
}

std::optional<std::string_view> sectionOfSegment(std::string_view program, std::string_view command,
                                                 std::string_view segment, std::string_view section) {
    for (std::uint64_t at = kSegmentHeaderBytes; at + kSectionBytes <= command.size(); at += kSectionBytes) {
        const std::string_view header = command.substr(at, kSectionBytes);
        if (isNamed(header.substr(0, 16), section) && isNamed(header.substr(16, 16), segment)) {
            const std::uint64_t length = littleEndian(header.substr(40, 8));
            const std::string_view content = part(program, littleEndian(header.substr(48, 4)), length);
            return content.size() == length ? std::optional(content) : std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string_view> machSection(std::string_view file, std::string_view segment, std::string_view section) {
    const std::string_view program = firstProgram(file);
    std::optional<std::string_view> found;
    if (littleEndian(part(program, 0, 4)) != kProgramMagic) {
        return found;
    }
    std::string_view commands = part(program, kProgramHeaderBytes, littleEndian(part(program, 20, 4)));
    while (!commands.empty() && !found) {
        const std::string_view command = part(commands, 0, littleEndian(part(commands, 4, 4)));
        if (command.size() < kCommandHeaderBytes) {
            return found;
        }
        if (littleEndian(command.substr(0, 4)) == kSegmentCommand) {
            found = sectionOfSegment(program, command, segment, section);
        }
        commands.remove_prefix(command.size());
    }
    return found;
}

} // namespace kyb::macroot
