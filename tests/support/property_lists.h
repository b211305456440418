#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Property lists as nobody writes them.

namespace kyb::test {

/// In as many bytes, the highest first.
inline void appendNumber(std::string &bytes, std::uint64_t value, int width) {
    for (int i = width - 1; i >= 0; --i) {
        bytes.push_back(static_cast<char>(value >> (8 * i)));
    }
}

inline constexpr int kReferenceBytes = 4;

/// The object for an array of up to 14 others, each by its number.
inline std::string array(const std::vector<std::uint64_t> &objects) {
    std::string bytes(1, static_cast<char>(0xa0 + objects.size()));
    for (const std::uint64_t object : objects) {
        appendNumber(bytes, object, kReferenceBytes);
    }
    return bytes;
}

/// A binary property list of these objects; the first one is the root.
inline std::string binaryList(const std::vector<std::string> &objects) {
    std::string bytes = "bplist00";
    std::vector<std::uint64_t> offsets;
    for (const std::string &object : objects) {
        offsets.push_back(bytes.size());
        bytes += object;
    }
    const std::uint64_t table = bytes.size();
    for (const std::uint64_t offset : offsets) {
        appendNumber(bytes, offset, 4);
    }
    bytes += std::string(6, '\0') + '\4' + static_cast<char>(kReferenceBytes);
    appendNumber(bytes, objects.size(), 8);
    appendNumber(bytes, 0, 8);
    appendNumber(bytes, table, 8);
    return bytes;
}

/// Arrays in arrays, \p depth deep.
inline std::string nestedList(std::uint64_t depth) {
    std::vector<std::string> objects;
    for (std::uint64_t i = 0; i < depth; ++i) {
        objects.push_back(array({i + 1}));
    }
    objects.push_back("\x51x");
    return binaryList(objects);
}

inline std::string nestedXml(int depth) {
    std::string xml = "<plist version=\"1.0\">";
    for (int i = 0; i < depth; ++i) {
        xml += "<array>";
    }
    for (int i = 0; i < depth; ++i) {
        xml += "</array>";
    }
    return xml + "</plist>";
}

} // namespace kyb::test
