#include "platform/linux/helper_launch.h"

#include "channel/message_keys.h"
#include "posix/Mutex.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <vector>

namespace kyb {
namespace {

constexpr int kListeningFd = 3;
constexpr int kFirstUnusedFd = kListeningFd + 1;
constexpr int kFirstSafeFd = 10; // above every number that the child's own descriptors take

const char *const kEnvironment[] = {"LISTEN_FDS=1", "PATH=/usr/bin:/bin:/usr/sbin:/sbin", "LANG=C.UTF-8", nullptr};

UniqueFd movedUp(int fd) {
    return UniqueFd(fcntl(fd, F_DUPFD_CLOEXEC, kFirstSafeFd));
}

UniqueFd openLog(const std::string &systemRoot) {
    const std::string path = systemRoot + "/var/log/" + kHelperLabel + ".log";
    UniqueFd log(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0644));
    return log ? std::move(log) : UniqueFd(open("/dev/null", O_WRONLY | O_CLOEXEC));
}

/// What posix_spawn is told: descriptors, session, signals.
class LaunchSettings {
public:
    LaunchSettings(int listening, int log) {
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_adddup2(&files, log, STDERR_FILENO);
        posix_spawn_file_actions_adddup2(&files, listening, kListeningFd);
        posix_spawn_file_actions_addclosefrom_np(&files, kFirstUnusedFd);
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setsigmask(&attributes, &none);
    }
    ~LaunchSettings() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
    }
    LaunchSettings(const LaunchSettings &) = delete;
    LaunchSettings &operator=(const LaunchSettings &) = delete;

    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
};

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
    static auto *helpers = new StartedHelpers; // NB: never destroyed; threads outlive static objects
    return *helpers;
}

} // namespace

void launchHelper(const std::string &helperPath, const std::string &systemRoot, const UniqueFd &listening) {
    const UniqueFd socket = movedUp(listening.get());
    const UniqueFd log = movedUp(openLog(systemRoot).get());
    const LaunchSettings settings(socket.get(), log.get());
    std::string path = helperPath;
    char *const argv[] = {path.data(), nullptr};
    pid_t helper = 0;
    if (posix_spawn(&helper, path.c_str(), &settings.files, &settings.attributes, argv,
                    const_cast<char *const *>(kEnvironment)) == 0) {
        startedHelpers().add(helper);
    }
}

} // namespace kyb
