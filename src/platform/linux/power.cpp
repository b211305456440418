#include "platform/power.h"

namespace kyb {

void keepMachineAwake() {}

void letMachineSleep() {}

} // namespace kyb
