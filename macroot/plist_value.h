#pragma once

#include "plist_document.h"

#include <cstdint>
#include <string>

namespace kyb::macroot {

/// As "Sat Nov 21 08:00:00 UTC 2026".
std::string dateText(std::int64_t unixSeconds);

/// A new node of this type ("string", "bool", "integer", "real", "date", "data", "array", "dict"), for a text that is
/// already its value: a bool as YES, NO, true, false, 1 or 0, in any case; a date as it is printed, or as
/// "2026-11-21T08:00:00Z". For a type that is unknown or a text that is no such value: empty, and the reason in \p
/// problem.
Plist nodeFromText(std::string_view type, const std::string &text, std::string &problem);

/// Whether a property list of any format can hold the text and gives it back as it is.
bool isListText(std::string_view text);

/// The name of a node's type, as nodeFromText() takes it; "" for one that has none.
std::string_view typeName(plist_t node);

} // namespace kyb::macroot
