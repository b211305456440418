#pragma once

#include "posix/Plist.h"

#include <string>
#include <string_view>

namespace kyb::macroot {

enum class PlistFormat { Xml, Binary };

/// The format that the text begins like.
PlistFormat plistFormatOf(std::string_view text);

/// Empty when the text is no property list.
Plist plistFromText(std::string_view text);
std::string plistToText(plist_t root, PlistFormat format);

/// A moment for a date node. Seconds since 1970-01-01 UTC; property lists count from 2001-01-01.
plist_t newDateNode(std::int64_t unixSeconds);
std::int64_t unixSecondsOf(plist_t date);

} // namespace kyb::macroot
