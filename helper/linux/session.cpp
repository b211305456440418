#include "session.h"

#include "posix/file_io.h"

#include <charconv>
#include <cstdio>
#include <filesystem>

namespace kyb::helper {
namespace {

constexpr std::size_t kMaxStatBytes = 4096;

/// Whether the process \p stat tells of, as "/proc/<number>/stat" has it, runs in the session of \p leader.
bool runsInSession(const std::string &stat, pid_t leader) {
    const std::size_t endOfName = stat.rfind(')'); // NB: the last one; a name may hold any character
    char state = 0;
    int session = 0;
    return endOfName != std::string::npos &&
           std::sscanf(stat.c_str() + endOfName, ") %c %*d %*d %d", &state, &session) == 2 && session == leader &&
           state != 'Z' && state != 'X';
}

} // namespace

std::vector<pid_t> othersInSession(pid_t leader) {
    std::vector<pid_t> others;
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/proc", error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename();
        pid_t process = 0;
        if (std::from_chars(name.data(), name.data() + name.size(), process).ec != std::errc() || process == leader) {
            continue;
        }
        // Nothing, when it has ended meanwhile.
        const auto stat = readAll(openRegularFile("/proc/" + name + "/stat", O_RDONLY).get(), kMaxStatBytes);
        if (stat && runsInSession(*stat, leader)) {
            others.push_back(process);
        }
    }
    return others;
}

} // namespace kyb::helper
