#pragma once

#include "CommandQueue.h"
#include "channel/message_keys.h"

#include <chrono>
#include <string>

namespace kyb::helper {

struct ServiceOptions {
    std::string progressFile = kProgressMessageFile;           ///< the one file that is written for a client
    std::chrono::milliseconds idle = std::chrono::seconds(60); ///< the service ends after so long with nothing to do
    CommandLimits commands;
};

/// Serves the clients of the helper's mach service until there is nothing to do for a while or the process is asked to
/// end (SIGTERM). Sets the process's working folder, umask and signals: once per process, which has no second thread.
/// \return the process's exit status.
int serve(ServiceOptions options);

} // namespace kyb::helper
