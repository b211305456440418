#pragma once

#include "posix/NoDestructor.h"
#include "posix/PendingEvents.h"

namespace kyb {

/// The events of connections to the helper that a registration waits for.
inline PendingEvents &connectionEvents() {
    static NoDestructor<PendingEvents> events;
    return *events;
}

} // namespace kyb
