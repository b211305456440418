#include "texts.h"

#include <bit>

namespace kyb::macroot {
namespace {

constexpr std::string_view kReplacementCharacter = "\uFFFD";

/// The character of \p length bytes that \p text begins with.
std::optional<char32_t> characterOf(std::string_view text, std::size_t length) {
    char32_t character = static_cast<unsigned char>(text.front()) & (0xFFU >> (length == 1 ? 1 : length + 1));
    for (const char next : text.substr(1, length - 1)) {
        if ((static_cast<unsigned char>(next) & 0xC0U) != 0x80) {
            return {};
        }
        character = character << 6 | (static_cast<unsigned char>(next) & 0x3FU);
    }
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000}; // by length: no character has two spellings
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    return character >= smallest[length] && !isSurrogate && character <= 0x10FFFF ? std::optional(character)
                                                                                  : std::nullopt;
}

} // namespace

std::optional<char32_t> takeCharacter(std::string_view &text) {
    const auto ones = static_cast<std::size_t>(std::countl_one(static_cast<unsigned char>(text.front())));
    const std::size_t length = ones == 0 ? 1 : ones;
    const bool hasLength = ones != 1 && ones <= 4 && text.size() >= length;
    const std::optional<char32_t> character = hasLength ? characterOf(text, length) : std::nullopt;
    text.remove_prefix(character ? length : 1);
    return character;
}

std::string printable(std::string_view text) {
    std::string line;
    while (!text.empty()) {
        const std::string_view before = text;
        if (const std::optional<char32_t> character = takeCharacter(text); !character) {
            line += kReplacementCharacter;
        } else if (*character < 0x20 || *character == 0x7f) {
            line += ' ';
        } else {
            line += before.substr(0, before.size() - text.size());
        }
    }
    return line;
}

} // namespace kyb::macroot
