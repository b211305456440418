#include "CoreFoundation.h"
#include "box.h"

#include <IOKit/pwr_mgt/IOPMLib.h>
#include <atomic>

using std::to_string;

namespace {

constexpr IOPMAssertionID kFirstAssertion = 40'000;
std::atomic<IOPMAssertionID> assertions{kFirstAssertion};

} // namespace

extern "C" {

const CFStringRef kIOPMAssertionTypePreventUserIdleSystemSleep =
    CFStringCreateWithCString(nullptr, "PreventUserIdleSystemSleep", kCFStringEncodingUTF8);
const CFStringRef kIOPMAssertionTypePreventUserIdleDisplaySleep =
    CFStringCreateWithCString(nullptr, "PreventUserIdleDisplaySleep", kCFStringEncodingUTF8);

/// Promise: the machine stays awake from here to the release, or to the end of the process.
IOReturn IOPMAssertionCreateWithName(CFStringRef type, IOPMAssertionLevel level, CFStringRef name,
                                     IOPMAssertionID *assertion) {
    macbox::record("IOPMAssertionCreateWithName type=" + macbox::text(type) + " level=" + to_string(level) +
                   " name=" + macbox::text(name));
    *assertion = assertions++; // NB: also of one that is refused
    return macbox::isSet("power", "granted") ? kIOReturnSuccess : kIOReturnError;
}

/// Promise: what the assertion held back is free again, if no other one holds it.
IOReturn IOPMAssertionRelease(IOPMAssertionID assertion) {
    macbox::record("IOPMAssertionRelease number=" + to_string(assertion - kFirstAssertion));
    return kIOReturnSuccess;
}

} // extern "C"
