#pragma once

#include <sys/types.h>
#include <vector>

namespace kyb::helper {

/// The processes that run in the session that \p leader has begun, in whatever process groups, but not \p leader
/// itself and none that have ended already. As long as the leader was not waited for, its number names no other
/// session. One thread.
std::vector<pid_t> othersInSession(pid_t leader);

} // namespace kyb::helper
