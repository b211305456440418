#pragma once

#include "plist_document.h"

#include <cstdint>
#include <optional>
#include <string>

namespace kyb::macroot {

/// Texts as values. Nothing when the text is no such value.
std::optional<bool> boolFromText(std::string_view text); ///< YES, NO, true, false, 1, 0, in any case
std::optional<std::int64_t> integerFromText(std::string_view text);
std::optional<double> realFromText(std::string_view text);
/// "2026-11-21T08:00:00Z", or "Sat Nov 21 08:00:00 UTC 2026" as dates are printed; seconds since 1970.
std::optional<std::int64_t> dateFromText(const std::string &text);

std::string dateText(std::int64_t unixSeconds);

/// A new node of this type ("string", "bool", "integer", "real", "date", "data", "array", "dict"), for a text that is
/// already its value. For a type that is unknown or a text that is no such value: empty, and the reason in \p problem.
Plist nodeFromText(std::string_view type, const std::string &text, std::string &problem);

/// The name of a node's type, as nodeFromText() takes it; "" for one that has none.
std::string_view typeName(plist_t node);

} // namespace kyb::macroot
