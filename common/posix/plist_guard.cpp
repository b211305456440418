#include "posix/plist_guard.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace kyb {
namespace {

constexpr std::string_view kBinaryMagic = "bplist00";
constexpr std::size_t kTrailerBytes = 32;
constexpr int kMaxDepth = 64;
constexpr int kMaxXmlContainers = 10'000; // far from the end of a thread's stack, also in a sanitizer's build
constexpr int kMaxKeys = 10'000;          // libplist looks each one up among those before it
constexpr std::int64_t kExpandedBytes = std::int64_t{64} << 20;
// For each entity libplist moves the rest of its text. So much is moved in less than a second.
constexpr std::int64_t kMovedBytes = std::int64_t{16} << 30;
constexpr std::int64_t kNodeBytes = 128; // what libplist spends on an object beside its content, about

enum Kind : unsigned {
    Integer = 0x1,
    Data = 0x4,
    Ascii = 0x5,
    Utf16 = 0x6,
    Uid = 0x8,
    Array = 0xA,
    Set = 0xC,
    Dictionary = 0xD
};

/// Walks a binary list as libplist will: every reference anew.
class BinaryWalk {
public:
    explicit BinaryWalk(std::string_view bytes) : bytes_(bytes) {}

    bool staysInBounds() {
        if (bytes_.size() < kBinaryMagic.size() + kTrailerBytes) {
            return false;
        }
        const std::size_t trailer = bytes_.size() - kTrailerBytes;
        offsetBytes_ = number(trailer + 6, 1).value_or(0);
        referenceBytes_ = number(trailer + 7, 1).value_or(0);
        objects_ = number(trailer + 8, 8).value_or(0);
        offsetTable_ = number(trailer + 24, 8).value_or(bytes_.size());
        const std::optional<std::uint64_t> top = number(trailer + 16, 8);
        return isWidth(offsetBytes_) && isWidth(referenceBytes_) && offsetTable_ < bytes_.size() && top &&
               visit(*top, 0);
    }

private:
    static bool isWidth(std::uint64_t bytes) { return bytes >= 1 && bytes <= 8; }

    /// The big-endian number of \p width bytes at \p position.
    std::optional<std::uint64_t> number(std::uint64_t position, std::uint64_t width) const {
        if (position > bytes_.size() || bytes_.size() - position < width) {
            return {};
        }
        std::uint64_t value = 0;
        for (const char byte : bytes_.substr(position, width)) {
            value = value << 8 | static_cast<unsigned char>(byte);
        }
        return value;
    }

    std::optional<std::uint64_t> offsetOf(std::uint64_t object) const {
        if (object >= objects_ || object >= bytes_.size()) { // the second keeps the product below small
            return {};
        }
        return number(offsetTable_ + object * offsetBytes_, offsetBytes_);
    }

    bool visit(std::uint64_t object, int depth) {
        const std::optional<std::uint64_t> offset = offsetOf(object);
        const std::optional<std::uint64_t> marker = offset ? number(*offset, 1) : std::nullopt;
        budget_ -= kNodeBytes;
        if (!marker || depth > kMaxDepth || budget_ < 0) {
            return false;
        }
        const unsigned kind = static_cast<unsigned>(*marker >> 4);
        if (kind < Data || kind == Uid) { // of a fixed size
            return true;
        }
        const std::optional<Items> items = itemsOf(*offset, *marker & 0xF);
        return items && visitItems(kind, *items, depth);
    }

    struct Items {
        std::uint64_t position;
        std::uint64_t count;
    };

    /// The items of the object at \p offset: how many they are stands in its marker or in a number behind it.
    std::optional<Items> itemsOf(std::uint64_t offset, std::uint64_t markerCount) const {
        if (markerCount < 0xF) {
            return Items{.position = offset + 1, .count = markerCount};
        }
        const std::uint64_t size = number(offset + 1, 1).value_or(0);
        const std::uint64_t width = std::uint64_t{1} << (size & 0xF);
        const std::optional<std::uint64_t> count = width <= 8 ? number(offset + 2, width) : std::nullopt;
        if (size >> 4 != Integer || !count || *count > bytes_.size()) {
            return {};
        }
        return Items{.position = offset + 2 + width, .count = *count};
    }

    bool visitItems(unsigned kind, const Items &items, int depth) {
        switch (kind) {
        case Array:
        case Set:
            return visitReferences(items.position, items.count, depth);
        case Dictionary:
            keys_ += static_cast<std::int64_t>(items.count);
            return keys_ <= kMaxKeys && visitReferences(items.position, 2 * items.count, depth);
        default:
            budget_ -= static_cast<std::int64_t>(2 * items.count);
            return budget_ >= 0 && (kind == Data || isText(kind, items.position, items.count));
        }
    }

    bool visitReferences(std::uint64_t content, std::uint64_t count, int depth) {
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::optional<std::uint64_t> object = number(content + i * referenceBytes_, referenceBytes_);
            if (!object || !visit(*object, depth + 1)) {
                return false;
            }
        }
        return true;
    }

    /// Without a NUL, and ASCII where it says so.
    bool isText(unsigned kind, std::uint64_t content, std::uint64_t count) const {
        const std::uint64_t width = kind == Utf16 ? 2 : 1;
        const std::uint64_t last = kind == Utf16 ? 0xFFFF : 0x7F;
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::uint64_t unit = number(content + i * width, width).value_or(0);
            if (unit == 0 || unit > last) {
                return false;
            }
        }
        return true;
    }

    std::string_view bytes_;
    std::uint64_t offsetBytes_ = 0;
    std::uint64_t referenceBytes_ = 0;
    std::uint64_t objects_ = 0;
    std::uint64_t offsetTable_ = 0;
    std::int64_t budget_ = kExpandedBytes;
    std::int64_t keys_ = 0;
};

/// XML cannot refer to an object twice, so only nesting counts: it is never deeper than there are containers.
bool hasFewContainersAndKeys(std::string_view xml) {
    int containers = 0;
    int keys = 0;
    for (std::size_t at = xml.find('<'); at != std::string_view::npos; at = xml.find('<', at + 1)) {
        const std::string_view tag = xml.substr(at + 1, 5);
        containers += tag == "array" || tag.starts_with("dict") ? 1 : 0;
        keys += tag.starts_with("key") ? 1 : 0;
    }
    return containers <= kMaxXmlContainers && keys <= kMaxKeys;
}

/// What libplist moves at most to replace the entities of all texts. A text, which may hold a '>', ends before a '<'.
bool hasFewEntities(std::string_view xml) {
    std::int64_t moved = 0;
    while (!xml.empty() && moved <= kMovedBytes) {
        const std::string_view text = xml.substr(0, xml.find('<', 1));
        moved += std::ranges::count(text, '&') * static_cast<std::int64_t>(text.size());
        xml.remove_prefix(text.size());
    }
    return moved <= kMovedBytes;
}

} // namespace

bool isSafeForLibplist(std::string_view bytes) {
    return bytes.starts_with(kBinaryMagic) ? BinaryWalk(bytes).staysInBounds()
                                           : hasFewContainersAndKeys(bytes) && hasFewEntities(bytes);
}

} // namespace kyb
