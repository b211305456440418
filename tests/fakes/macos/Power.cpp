#include "FakeMacOS.h"

#include <IOKit/pwr_mgt/IOPMLib.h>

using std::to_string;

namespace {

constexpr IOPMAssertionID kFirstAssertion = 40'000;

} // namespace

extern "C" {

const CFStringRef kIOPMAssertionTypePreventUserIdleSystemSleep =
    CFStringCreateWithCString(nullptr, "PreventUserIdleSystemSleep", kCFStringEncodingUTF8);
const CFStringRef kIOPMAssertionTypePreventUserIdleDisplaySleep =
    CFStringCreateWithCString(nullptr, "PreventUserIdleDisplaySleep", kCFStringEncodingUTF8);

IOReturn IOPMAssertionCreateWithName(CFStringRef type, IOPMAssertionLevel level, CFStringRef name,
                                     IOPMAssertionID *assertion) {
    fake::record("IOPMAssertionCreateWithName type=" + fake::text(type) + " level=" + to_string(level) +
                 " name=" + fake::text(name));
    *assertion = kFirstAssertion + fake::machine().assertionsMade++; // NB: also of one that is refused
    return fake::machine().powerStatus;
}

IOReturn IOPMAssertionRelease(IOPMAssertionID assertion) {
    fake::record("IOPMAssertionRelease number=" + to_string(assertion - kFirstAssertion));
    return kIOReturnSuccess;
}

} // extern "C"
