#pragma once

#include <string_view>

namespace kyb {

/// Whether libplist reads the property list \p bytes, XML or binary, at a bounded price. libplist follows nesting by
/// recursion and copies an object as often as it is referred to, so that a few hundred hostile bytes can exhaust the
/// stack or ask for gigabytes; it compares a key with all others of the same hash, so that 40,000 of them take 20
/// seconds; it moves the rest of a text of XML for each entity in it, so that 16 MB of them take minutes; and it cuts a
/// binary list's text at an embedded NUL, and hands on bytes that are no ASCII in a text that says it is. Such lists
/// are refused here, at a price that is bounded itself. Not a validator: what is not a property list may pass, and
/// libplist then refuses it.
bool isSafeForLibplist(std::string_view bytes);

} // namespace kyb
