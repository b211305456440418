#pragma once

#include "CommandQueue.h"
#include "posix/UniqueFd.h"

#include <chrono>
#include <functional>
#include <string>
#include <sys/types.h>

namespace kyb::helper {

struct ServiceOptions {
    /// The folder that plays "/", without a trailing slash; empty for "/" itself.
    std::string systemRoot;

    /// Whether a process of the user \p uid may have commands run.
    std::function<bool(uid_t uid)> isTrusted;

    std::chrono::milliseconds idle = std::chrono::seconds(60); ///< the service ends after so long with nothing to do
    std::chrono::milliseconds requestTimeout = std::chrono::seconds(10); ///< for a request to come in
    CommandLimits commands;
};

/// Trusts root and the owner of the folder \p systemRoot (empty for "/").
std::function<bool(uid_t)> trustRootAndOwner(const std::string &systemRoot);

/// Serves the clients of the socket \p listening until there is nothing to do for a while or the process is asked to
/// end (SIGTERM). Sets the process's working folder, umask and signals: once per process, which has no second thread.
/// \return the process's exit status.
int serve(UniqueFd listening, ServiceOptions options);

} // namespace kyb::helper
