#include "platform/power.h"

#include "platform/macos/cf_string.h"
#include "posix/Mutex.h"

#include <IOKit/pwr_mgt/IOPMLib.h>
#include <utility>

namespace kyb {
namespace {

Mutex mutex;
IOPMAssertionID assertion GUARDED_BY(mutex) = kIOPMNullAssertionID;

} // namespace

void keepMachineAwake() {
    const MutexLock lock(mutex);
    if (assertion != kIOPMNullAssertionID) {
        return;
    }
    const CFOwned<CFStringRef> reason = toCFString(QStringLiteral("Installing the Brelund Quorlix Driver"));
    IOPMAssertionID made = kIOPMNullAssertionID;
    if (IOPMAssertionCreateWithName(kIOPMAssertionTypePreventUserIdleSystemSleep, kIOPMAssertionLevelOn, reason.get(),
                                    &made) == kIOReturnSuccess) {
        assertion = made;
    }
}

void letMachineSleep() {
    const MutexLock lock(mutex);
    if (assertion != kIOPMNullAssertionID) {
        IOPMAssertionRelease(std::exchange(assertion, kIOPMNullAssertionID));
    }
}

} // namespace kyb
