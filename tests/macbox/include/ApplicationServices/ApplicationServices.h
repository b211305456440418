#pragma once

// Declarations of the system's process interface, as far as this program uses it, written after the pages
// "TransformProcessType" and "ProcessSerialNumber" of the system's developer documentation.

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

struct ProcessSerialNumber {
    UInt32 highLongOfPSN;
    UInt32 lowLongOfPSN;
};
using ProcessApplicationTransformState = UInt32;
enum : UInt32 { kNoProcess = 0, kSystemProcess = 1, kCurrentProcess = 2 };
enum : ProcessApplicationTransformState {
    kProcessTransformToForegroundApplication = 1,
    kProcessTransformToBackgroundApplication = 2,
    kProcessTransformToUIElementApplication = 4
};

OSStatus TransformProcessType(const ProcessSerialNumber *process, ProcessApplicationTransformState state);

} // extern "C"
