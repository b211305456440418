#pragma once

#include "signature.h"

#include <xpc/xpc.h>

namespace macbox {

/// The code that sent \p message; nothing when that is not known.
const Texts *senderOf(xpc_object_t message);

} // namespace macbox
