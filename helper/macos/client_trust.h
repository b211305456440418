#pragma once

#include <xpc/xpc.h>

// Whether a client is the application that this helper belongs to. It is asked of the code that sends, and never of a
// process number, which may belong to another program by the time one looks.

namespace kyb::helper {

/// Makes the system drop every message of \p peer that does not come from code that satisfies the requirement, where it
/// can (macOS 12). Before the connection is resumed. \return false when \p peer must not be served.
bool requireTrustedPeer(xpc_connection_t peer);

/// Whether the code that sent \p message satisfies the requirement. Where the system has checked it already, yes.
bool isFromTrustedClient(xpc_object_t message);

} // namespace kyb::helper
