#pragma once

#include <QString>
#include <cstdint>

namespace kyb {

/// A grant of administrator rights. Never freed: it lives until the process ends.
using AdministratorRights = struct OpaqueAdministratorRights *;

/// An error object of the platform's. Nobody reads one.
using PlatformError = struct OpaquePlatformError *;

/// Asks for the right to install a privileged helper tool; on macOS the user is asked for an administrator's name and
/// password before this returns.
///
/// \param rights set to the grant on success, left as it is on failure.
/// \return the platform's status: 0 on success; -60005 where the system refuses, -60006 where the user cancels.
///
/// Main thread; blocks while the user is asked.
std::int32_t requestAdministratorRights(AdministratorRights *rights);

/// Installs the helper tool \p label out of the bundle (`Contents/Library/LaunchServices/`) to its place in the system
/// ("/Library/PrivilegedHelperTools/") and makes it ready to be started on demand. A helper that is there is replaced.
///
/// Returns only when every connection event that told of a missing helper, of connections made before this call, was
/// delivered (see helper_connection.h), so that none of them can be mistaken for a later failure. On macOS one that
/// takes longer than two seconds is dropped, as is one that the registration itself brings about.
///
/// \param error where the platform may leave an error object.
/// \return whether the helper is in place. Main thread; may take some milliseconds.
bool installHelperTool(const QString &label, AdministratorRights rights, PlatformError *error);

} // namespace kyb
