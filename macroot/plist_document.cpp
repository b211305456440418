#include "plist_document.h"

#include "posix/plist_guard.h"
#include "texts.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>

namespace kyb::macroot {
namespace {

constexpr std::string_view kBinaryMagic = "bplist00";
constexpr std::int64_t kSecondsFrom1970To2001 = 978307200;
constexpr int kMaxDepth = 64; // as a binary list may have, see isSafeForLibplist()

bool isXmlCharacter(char32_t c) {
    const bool isControl = c < 0x20 && c != '\t' && c != '\n' && c != '\r';
    return !isControl && c != 0xFFFE && c != 0xFFFF;
}

void eachItem(plist_t array, const ChildUse &use) {
    plist_array_iter place = nullptr;
    plist_array_new_iter(array, &place);
    const std::unique_ptr<void, PlistFree> placeOwner(place);
    plist_t item = nullptr;
    for (plist_array_next_item(array, place, &item); item != nullptr; plist_array_next_item(array, place, &item)) {
        use({}, item);
    }
}

bool isShallow(plist_t node, int levels) {
    bool shallow = levels >= 0;
    if (shallow) {
        eachChild(node, [&](std::string_view, plist_t child) { shallow = shallow && isShallow(child, levels - 1); });
    }
    return shallow;
}

std::string written(plist_t root, PlistFormat format) {
    const bool binary = format == PlistFormat::Binary;
    char *bytes = nullptr;
    std::uint32_t length = 0;
    (binary ? plist_to_bin : plist_to_xml)(root, &bytes, &length);
    const std::unique_ptr<char, PlistFree> owner(bytes);
    return bytes != nullptr ? std::string(bytes, length) : std::string();
}

// libplist writes -0.0 as 0.0.
void dropSignOfZeros(plist_t node) {
    double value = 0;
    plist_get_real_val(node, &value);
    if (plist_get_node_type(node) == PLIST_REAL && value == 0) {
        plist_set_real_val(node, 0);
    }
    eachChild(node, [](std::string_view, plist_t child) { dropSignOfZeros(child); });
}

// libplist writes a year without leading zeros, which others do not read.
std::string withWholeYears(std::string_view xml) {
    constexpr std::string_view tag = "<date>";
    std::string result;
    for (std::size_t at = xml.find(tag); at != std::string_view::npos; at = xml.find(tag)) {
        result += xml.substr(0, at + tag.size());
        xml.remove_prefix(at + tag.size());
        const std::size_t digits = xml.find('-'); // 0: the year is negative
        result.append(digits == 0 ? 0 : 4 - std::min<std::size_t>(digits, 4), '0');
    }
    return result.append(xml);
}

std::string xmlOf(plist_t root) {
    dropSignOfZeros(root);
    return withWholeYears(written(root, PlistFormat::Xml));
}

} // namespace

PlistFormat plistFormatOf(std::string_view text) {
    return text.starts_with(kBinaryMagic) ? PlistFormat::Binary : PlistFormat::Xml;
}

Plist plistFromText(std::string_view text) {
    const bool binary = plistFormatOf(text) == PlistFormat::Binary;
    plist_t root = nullptr;
    if (isSafeForLibplist(text) && (binary || isXmlText(text))) {
        (binary ? plist_from_bin : plist_from_xml)(text.data(), static_cast<std::uint32_t>(text.size()), &root);
    }
    Plist list(root);
    return isShallow(root, kMaxDepth) ? std::move(list) : Plist();
}

std::string plistToText(plist_t root, PlistFormat format) {
    std::string text = format == PlistFormat::Xml ? xmlOf(root) : written(root, format);
    const Plist again = plistFromText(text);
    return again && written(again.get(), PlistFormat::Binary) == written(root, PlistFormat::Binary) ? text : "";
}

bool isXmlText(std::string_view text) {
    while (!text.empty()) {
        const std::optional<char32_t> character = takeCharacter(text);
        if (!character || !isXmlCharacter(*character)) {
            return false;
        }
    }
    return true;
}

void eachChild(plist_t node, const ChildUse &use) {
    if (plist_get_node_type(node) == PLIST_ARRAY) {
        eachItem(node, use);
    } else if (plist_get_node_type(node) == PLIST_DICT) {
        eachEntry(node, use);
    }
}

plist_t newDateNode(std::int64_t unixSeconds) {
    return plist_new_date(static_cast<std::int32_t>(unixSeconds - kSecondsFrom1970To2001), 0);
}

std::int64_t unixSecondsOf(plist_t date) {
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(date, &seconds, &microseconds);
    return seconds + kSecondsFrom1970To2001;
}

} // namespace kyb::macroot
