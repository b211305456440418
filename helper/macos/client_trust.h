#pragma once

#include <xpc/xpc.h>

namespace kyb::helper {

/// Whether the code that sent \p message is the application that this helper belongs to. It is asked of the code that
/// sends, and never of a process number, which may belong to another program by the time one looks.
///
/// NB: not by a requirement that the system holds a peer to, from macOS 12 on. The system drops what a stranger sends,
/// and tells neither side: an application that is too old for the helper would wait for ever.
bool isFromTrustedClient(xpc_object_t message);

} // namespace kyb::helper
