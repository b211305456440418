#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <any>
#include <string>

namespace macbox {

/// An object of another interface's, counted and given back like all others, with what it stands for.
CFTypeRef makeOther(std::any value = {});
const std::any &valueOf(CFTypeRef other);

std::string text(CFStringRef string);

} // namespace macbox
