#include "session.h"

#include <cerrno>
#include <sys/sysctl.h>
#include <unistd.h>

namespace kyb::helper {
namespace {

std::vector<kinfo_proc> processTable() {
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

std::vector<pid_t> allProcesses() {
    std::vector<pid_t> processes;
    for (const kinfo_proc &process : processTable()) {
        if (process.kp_proc.p_stat != SZOMB) {
            processes.push_back(process.kp_proc.p_pid);
        }
    }
    return processes;
}

bool runsInSession(pid_t process, pid_t leader) {
    return getsid(process) == leader;
}

} // namespace kyb::helper
