#pragma once

#include "macos/Inbox.h"

#include <memory>
#include <string>
#include <xpc/xpc.h>

namespace kyb::helper {

/// Publishes the helper's service and returns. What the clients ask for goes into \p inbox, one after the other, from
/// the listener's queue. Dropped, each with its connection: what comes from a client that does not satisfy the code
/// signing requirement, a message without a command, and one that names another progress file than \p progressFile.
///
/// Once per process, which the system must have started for that service.
/// \return the listener, for `stopListening`. It lives as long as the process.
xpc_connection_t startListening(const std::shared_ptr<Inbox> &inbox, const std::string &progressFile);

/// Takes no new client from now on; `Inbox::isClosed` tells when that has come true. Once. Any thread.
void stopListening(xpc_connection_t listener);

} // namespace kyb::helper
