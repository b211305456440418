#include "posix/spawn.h"

#include "posix/UniqueFd.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

extern char **environ;

namespace kyb {
namespace {

#ifdef POSIX_SPAWN_CLOEXEC_DEFAULT // macOS: every descriptor closes itself but those that are set
constexpr int kCloseOthers = POSIX_SPAWN_CLOEXEC_DEFAULT;
int addCloseFrom(posix_spawn_file_actions_t *, int) {
    return 0;
}
#else
constexpr int kCloseOthers = 0;
int addCloseFrom(posix_spawn_file_actions_t *files, int first) {
    return posix_spawn_file_actions_addclosefrom_np(files, first);
}
#endif

int groupFlag(ProcessGroup group) {
    switch (group) {
    case ProcessGroup::Inherited:
        return 0;
    case ProcessGroup::Own:
        return POSIX_SPAWN_SETPGROUP;
    case ProcessGroup::OwnSession:
        return POSIX_SPAWN_SETSID;
    }
    return 0;
}

std::vector<char *> pointersTo(const std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string &text : texts) {
        pointers.push_back(const_cast<char *>(text.c_str())); // the system only reads them
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// What posix_spawn is told.
class Settings {
public:
    explicit Settings(const SpawnOptions &options) {
        posix_spawn_file_actions_init(&files_);
        posix_spawnattr_init(&attributes_);
        setAttributes(options);
        if (!options.descriptors.empty()) {
            setDescriptors(options.descriptors);
        }
        if (!options.workingFolder.empty()) {
            note(posix_spawn_file_actions_addchdir_np(&files_, options.workingFolder.c_str()));
        }
    }
    ~Settings() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&files_);
    }
    Settings(const Settings &) = delete;
    Settings &operator=(const Settings &) = delete;

    /// \return 0, or why the program cannot be started.
    int start(const SpawnOptions &options, pid_t &process) const {
        if (error_ != 0) {
            return error_;
        }
        const std::vector<char *> arguments = pointersTo(options.arguments);
        const std::vector<char *> environment =
            options.environment ? pointersTo(*options.environment) : std::vector<char *>();
        return posix_spawn(&process, arguments.front(), &files_, &attributes_, arguments.data(),
                           options.environment ? environment.data() : environ);
    }

private:
    void setAttributes(const SpawnOptions &options) {
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setpgroup(&attributes_, options.joinedGroup);
        const int closing = options.descriptors.empty() ? 0 : kCloseOthers;
        const int flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | groupFlag(options.group) | closing;
        posix_spawnattr_setflags(&attributes_, static_cast<short>(flags));
    }

    void setDescriptors(const std::vector<int> &descriptors) {
        const int count = static_cast<int>(descriptors.size());
        for (int number = 0; number < count; ++number) {
            const int source = descriptors[static_cast<std::size_t>(number)];
            if (source == kDevNull) {
                note(posix_spawn_file_actions_addopen(&files_, number, "/dev/null",
                                                      number == STDIN_FILENO ? O_RDONLY : O_WRONLY, 0));
                continue;
            }
            // Above all numbers of the program, so that none is overwritten before its turn.
            const UniqueFd &copy = copies_.emplace_back(fcntl(source, F_DUPFD_CLOEXEC, count));
            note(copy ? posix_spawn_file_actions_adddup2(&files_, copy.get(), number) : errno);
        }
        note(addCloseFrom(&files_, count));
    }

    void note(int error) { error_ = error_ != 0 ? error_ : error; }

    posix_spawn_file_actions_t files_{};
    posix_spawnattr_t attributes_{};
    std::vector<UniqueFd> copies_;
    int error_ = 0;
};

} // namespace

std::optional<pid_t> spawn(const SpawnOptions &options) {
    pid_t process = 0;
    const int error = Settings(options).start(options, process);
    if (error != 0) {
        errno = error;
        return {};
    }
    return process;
}

} // namespace kyb
