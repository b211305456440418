#include "box.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/sysctl.h>
#include <utility>
#include <vector>

namespace {

/// This machine's processes.
std::vector<kinfo_proc> processes() {
    std::vector<kinfo_proc> all;
    for (const auto &entry : std::filesystem::directory_iterator("/proc")) {
        const std::string number = entry.path().filename();
        kinfo_proc process{};
        const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), process.kp_proc.p_pid);
        std::string stat;
        if (error == std::errc() && std::getline(std::ifstream(entry.path() / "stat"), stat)) {
            process.kp_proc.p_stat = stat.find(") Z ") != std::string::npos ? SZOMB : 0;
            all.push_back(process);
        }
    }
    return all;
}

/// Whether, this once, more processes have come since the size was told than there is room for.
bool hasGrown() {
    static bool isFirst = true;
    return macbox::isSet("process table", "grows") && std::exchange(isFirst, false);
}

} // namespace

/// Promise (sysctl(3)): without a place the size that is needed; with one that is too small ENOMEM. To set nothing, the
/// new value is null and 0 bytes long; this table cannot be set.
extern "C" int sysctl(int *name, unsigned nameLength, void *old, size_t *oldLength, void *fresh, size_t freshLength) {
    if (nameLength != 3 || name[0] != CTL_KERN || name[1] != KERN_PROC || name[2] != KERN_PROC_ALL ||
        fresh != nullptr || freshLength != 0) {
        errno = EINVAL;
        return -1;
    }
    const std::vector<kinfo_proc> all = processes();
    if (old == nullptr) {
        *oldLength = all.size() * sizeof(kinfo_proc);
        return 0;
    }
    if (macbox::isSet("process table", "refused")) {
        errno = EPERM;
        return -1;
    }
    const std::size_t bytes = all.size() * sizeof(kinfo_proc);
    if (*oldLength < bytes || hasGrown()) {
        errno = ENOMEM;
        return -1;
    }
    std::memcpy(old, all.data(), bytes);
    *oldLength = bytes;
    return 0;
}
