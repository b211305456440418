#include "platform/linux/helper_launch.h"

#include "channel/message_keys.h"
#include "posix/Mutex.h"
#include "posix/NoDestructor.h"
#include "posix/file_io.h"
#include "posix/spawn.h"

#include <sys/wait.h>
#include <vector>

namespace kyb {
namespace {

UniqueFd openLog(const std::string &systemRoot) {
    return openRegularFile(systemRoot + "/var/log/" + kHelperLabel + ".log", O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW,
                           0644);
}

/// The helpers that this process started and did not see end: each stays a zombie until it is asked for.
class StartedHelpers {
public:
    void add(pid_t helper) {
        const MutexLock lock(mutex_);
        std::erase_if(helpers_, [](pid_t earlier) { return waitpid(earlier, nullptr, WNOHANG) != 0; });
        helpers_.push_back(helper);
    }

private:
    Mutex mutex_;
    std::vector<pid_t> helpers_ GUARDED_BY(mutex_);
};

StartedHelpers &startedHelpers() {
    static NoDestructor<StartedHelpers> helpers;
    return *helpers;
}

} // namespace

void launchHelper(const std::string &helperPath, const std::string &systemRoot, const UniqueFd &listening) {
    const UniqueFd log = openLog(systemRoot);
    const std::optional<pid_t> helper =
        spawn({.arguments = {helperPath},
               // LISTEN_FDS counts from descriptor 3 on
               .environment = {{"LISTEN_FDS=1", "PATH=/usr/bin:/bin:/usr/sbin:/sbin", "LANG=C.UTF-8"}},
               .descriptors = {kDevNull, kDevNull, log ? log.get() : kDevNull, listening.get()},
               .group = ProcessGroup::OwnSession});
    if (helper) {
        startedHelpers().add(*helper);
    }
}

} // namespace kyb
