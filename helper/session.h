#pragma once

#include <functional>
#include <sys/types.h>
#include <vector>

namespace kyb::helper {

/// Every process of the system; on Linux also those that have ended and were not waited for. One thread.
std::vector<pid_t> allProcesses();

/// Whether \p process, one of `allProcesses`, runs in the session that \p leader has begun, in whatever process group.
/// As long as the leader was not waited for, its number names no other session. Any thread.
bool runsInSession(pid_t process, pid_t leader);

/// Calls \p visit with each process but \p leader that runs in its session, the moment it is met. It looks for new ones
/// until there are none, and so also meets one that forks and ends all the time. One thread.
void visitOthersInSession(pid_t leader, const std::function<void(pid_t)> &visit);

} // namespace kyb::helper
