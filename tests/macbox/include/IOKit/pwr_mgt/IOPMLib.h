#pragma once

// Declarations of the system's power management interface, as far as this program uses it, written after the page
// "IOPMLib.h" of the system's developer documentation.

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

using IOReturn = int;
enum : IOReturn { kIOReturnSuccess = 0, kIOReturnError = -536870212 };
using IOPMAssertionID = UInt32;
enum : IOPMAssertionID { kIOPMNullAssertionID = 0 };
using IOPMAssertionLevel = UInt32;
enum : IOPMAssertionLevel { kIOPMAssertionLevelOff = 0, kIOPMAssertionLevelOn = 255 };
extern const CFStringRef kIOPMAssertionTypePreventUserIdleSystemSleep;
extern const CFStringRef kIOPMAssertionTypePreventUserIdleDisplaySleep;

IOReturn IOPMAssertionCreateWithName(CFStringRef type, IOPMAssertionLevel level, CFStringRef name,
                                     IOPMAssertionID *assertion);
IOReturn IOPMAssertionRelease(IOPMAssertionID assertion);

} // extern "C"
