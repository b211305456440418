#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <string>

namespace macbox {

/// An object of another interface's, counted and given back like all others.
CFTypeRef makeOther();

std::string text(CFStringRef string);

} // namespace macbox
