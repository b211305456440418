#pragma once

#include "posix/Plist.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace kyb::macroot {

enum class PlistFormat { Xml, Binary };

/// The format that the text begins like.
PlistFormat plistFormatOf(std::string_view text);

/// Empty when the text is no property list, or one that is nested deeper than 64 levels or dear to read in another way.
Plist plistFromText(std::string_view text);

/// Empty when it would not be read as the same again: it is nested too deep, has too many keys, or holds text that XML
/// cannot hold. For XML a zero loses its sign.
std::string plistToText(plist_t root, PlistFormat format);

/// Whether XML can hold the text: UTF-8, and no control characters but tab, line feed and carriage return.
bool isXmlText(std::string_view text);

/// Calls \p use with each entry of a dictionary, or with each item of an array and an empty key, in their order. A node
/// of another kind has none.
using ChildUse = std::function<void(std::string_view key, plist_t child)>;
void eachChild(plist_t node, const ChildUse &use);

/// A moment for a date node. Seconds since 1970-01-01 UTC; property lists count from 2001-01-01, and libplist takes and
/// gives 68 years before and after that.
plist_t newDateNode(std::int64_t unixSeconds);
std::int64_t unixSecondsOf(plist_t date);

} // namespace kyb::macroot
