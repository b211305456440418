#include "plist_document.h"

#include <cstdint>

namespace kyb::macroot {
namespace {

constexpr std::string_view kBinaryMagic = "bplist00";
constexpr std::int64_t kSecondsFrom1970To2001 = 978307200;

} // namespace

PlistFormat plistFormatOf(std::string_view text) {
    return text.starts_with(kBinaryMagic) ? PlistFormat::Binary : PlistFormat::Xml;
}

Plist plistFromText(std::string_view text) {
    const auto read = plistFormatOf(text) == PlistFormat::Binary ? plist_from_bin : plist_from_xml;
    plist_t root = nullptr;
    read(text.data(), static_cast<std::uint32_t>(text.size()), &root);
    return Plist(root);
}

std::string plistToText(plist_t root, PlistFormat format) {
    const bool binary = format == PlistFormat::Binary;
    char *bytes = nullptr;
    std::uint32_t length = 0;
    (binary ? plist_to_bin : plist_to_xml)(root, &bytes, &length);
    std::string text = bytes != nullptr ? std::string(bytes, length) : std::string();
    (binary ? plist_to_bin_free : plist_to_xml_free)(bytes);
    return text;
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
