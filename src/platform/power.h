#pragma once

namespace kyb {

/// Keeps the machine from going to sleep for want of a user, until `letMachineSleep` is called or the process ends; its
/// display may. Called again meanwhile it does nothing, and a refusal is silent. Does nothing on Linux. Any thread.
void keepMachineAwake();

/// Takes that back. Does nothing where there is nothing to be taken back. Any thread.
void letMachineSleep();

} // namespace kyb
