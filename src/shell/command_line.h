#pragma once

namespace kyb {

/// Reads the command line of silent mode, `-s USER [PUBLIC]`, into the process-wide flags: `curUserName`,
/// `isSilentInstall`, `isPrivateComputerAccepted`. Anything else leaves the process interactive, for the user who runs
/// it. Changes no argument. First thing in `main`.
///
/// \param argc the number of arguments, the program's name included.
void readCommandLine(int argc, const char *const *argv);

} // namespace kyb
