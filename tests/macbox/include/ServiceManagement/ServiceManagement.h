#pragma once

// Declarations of the system's Service Management interface, as far as this program uses it, written after the page
// "SMJobBless" of the system's developer documentation.

#include <CoreFoundation/CoreFoundation.h>
#include <Security/Security.h>

extern "C" {

extern const CFStringRef kSMDomainUserLaunchd;
extern const CFStringRef kSMDomainSystemLaunchd;

Boolean SMJobBless(CFStringRef domain, CFStringRef executableLabel, AuthorizationRef authorization, CFErrorRef *error)
    __attribute__((availability(macos, introduced = 10.6, deprecated = 13.0)));

} // extern "C"
