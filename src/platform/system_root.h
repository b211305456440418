#pragma once

#include <QString>
#include <optional>

namespace kyb {

/// Where the fixed system path lies on this machine. Every fixed path that the program opens or puts into a command
/// line passes through here.
///
/// \param fixedPath an absolute path as it stands on macOS, for example "/var/tmp/kyb".
/// \return on macOS the path itself; on Linux the path below the folder that `KYB_SYSTEM_ROOT` names, or the path
///         itself when the variable is not set. "/" gives the root folder, with no trailing slash added.
///
/// Any thread. Never fails.
QString systemPath(const QString &fixedPath);

/// Says what is wrong with the root folder, or nothing when it can be used: it must be an existing absolute folder
/// whose name needs no quoting in a shell. On macOS nothing is ever wrong. Called once, first thing in `main`.
std::optional<QString> systemRootProblem();

} // namespace kyb
