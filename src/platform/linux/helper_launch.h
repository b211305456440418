#pragma once

#include "channel/ServiceSocket.h"

#include <string>

namespace kyb {

/// Starts the helper tool at \p helperPath as a process of its own, in a new session and a clean environment, with
/// \p listening as its descriptor 3 and nothing else inherited. Its standard error is appended to a file below
/// \p systemRoot ("/var/log/com.kyb.InstallerHelperTool.log"). A failure is silent: the socket then has no reader.
/// Only while the service's lock is held.
void launchHelper(const std::string &helperPath, const std::string &systemRoot, const UniqueFd &listening);

} // namespace kyb
