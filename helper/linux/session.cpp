#include "session.h"

#include "posix/file_io.h"

#include <charconv>
#include <cstdio>
#include <filesystem>

namespace kyb::helper {
namespace {

constexpr std::size_t kMaxStatBytes = 4096;

/// The process that the folder \p entry of "/proc" tells of; 0 for one that tells of none.
pid_t processOf(const std::filesystem::directory_entry &entry) {
    const std::string name = entry.path().filename();
    pid_t process = 0;
    std::from_chars(name.data(), name.data() + name.size(), process);
    return process;
}

} // namespace

std::vector<pid_t> allProcesses() {
    std::vector<pid_t> processes;
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/proc", error), end; !error && entry != end;
         entry.increment(error)) {
        if (const pid_t process = processOf(*entry); process != 0) {
            processes.push_back(process);
        }
    }
    return processes;
}

bool runsInSession(pid_t process, pid_t leader) {
    const std::string path = "/proc/" + std::to_string(process) + "/stat";
    const std::string stat = readAll(openRegularFile(path, O_RDONLY).get(), kMaxStatBytes).value_or(std::string());
    const std::size_t endOfName = stat.rfind(')'); // NB: the last one; a name may hold any character
    char state = 0;
    int session = 0;
    return endOfName != std::string::npos &&
           std::sscanf(stat.c_str() + endOfName, ") %c %*d %*d %d", &state, &session) == 2 && session == leader &&
           state != 'Z' && state != 'X';
}

} // namespace kyb::helper
