#pragma once

#include <functional>
#include <sys/types.h>

namespace kyb::helper {

/// Calls \p visit with each process that runs in the session that \p leader has begun, in whatever process group, but
/// not \p leader itself and none that has ended already. It does so the moment it meets one: a process that forks and
/// ends all the time is another soon. As long as the leader was not waited for, its number names no other session.
/// One thread.
void visitOthersInSession(pid_t leader, const std::function<void(pid_t)> &visit);

} // namespace kyb::helper
