#include "session.h"

#include <cerrno>
#include <sys/sysctl.h>
#include <unistd.h>
#include <vector>

namespace kyb::helper {
namespace {

/// Every process of the system.
std::vector<kinfo_proc> allProcesses() {
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_ALL};
    std::vector<kinfo_proc> processes;
    std::size_t bytes = 0;
    while (sysctl(name, 3, nullptr, &bytes, nullptr, 0) == 0) {
        processes.resize(bytes / sizeof(kinfo_proc) + 16); // some may be new by the time of the second call
        bytes = processes.size() * sizeof(kinfo_proc);
        if (sysctl(name, 3, processes.data(), &bytes, nullptr, 0) == 0) {
            processes.resize(bytes / sizeof(kinfo_proc));
            return processes;
        }
        if (errno != ENOMEM) {
            break;
        }
    }
    return {};
}

} // namespace

void visitOthersInSession(pid_t leader, const std::function<void(pid_t)> &visit) {
    for (const kinfo_proc &process : allProcesses()) { // NB: the system has no list of a session's processes
        const pid_t number = process.kp_proc.p_pid;
        if (number != leader && process.kp_proc.p_stat != SZOMB && getsid(number) == leader) {
            visit(number);
        }
    }
}

} // namespace kyb::helper
