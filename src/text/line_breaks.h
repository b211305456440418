#pragma once

#include <QStringView>
#include <QVector>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace kyb {

/// Whether \p unit ends a line: LF, VT, FF, CR, NEL, LINE SEPARATOR or PARAGRAPH SEPARATOR.
constexpr bool isNewline(char16_t unit) {
    // NB: no branch, so that it becomes a vector instruction where it is asked of many.
    return static_cast<bool>((static_cast<char16_t>(unit - 0x000A) <= 3) | (unit == 0x0085) |
                             (static_cast<char16_t>(unit - 0x2028) <= 1));
}

/// The first place in [\p begin, \p end) for which \p holds is true, or \p end. Whole blocks without one are passed
/// over without a branch, in lanes, which the compiler turns into vector instructions. Pure.
template <typename Test> const char16_t *findPlace(const char16_t *begin, const char16_t *end, Test holds) {
    constexpr std::ptrdiff_t kLanes = 8;
    constexpr std::ptrdiff_t kBlock = 4 * kLanes;
    for (; end - begin >= kBlock; begin += kBlock) {
        std::array<char16_t, kLanes> found{};
        for (std::ptrdiff_t i = 0; i < kBlock; i += kLanes) {
            for (std::size_t lane = 0; lane < found.size(); ++lane) {
                found[lane] |= static_cast<char16_t>(holds(begin + i + lane));
            }
        }
        const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(found);
        if ((halves[0] | halves[1]) != 0) {
            break;
        }
    }
    while (begin != end && !holds(begin)) {
        ++begin;
    }
    return begin;
}

/// The first newline character in [\p begin, \p end), or \p end. Pure.
inline const char16_t *findNewline(const char16_t *begin, const char16_t *end) {
    return findPlace(begin, end, [](const char16_t *unit) { return isNewline(*unit); });
}

/// The pieces of \p text between its newline characters, empty ones included: one more than there are newlines. Each
/// newline character separates by itself, so CR LF has an empty piece in it. The pieces point into \p text. Pure.
QVector<QStringView> splitAtNewlines(QStringView text);

} // namespace kyb
