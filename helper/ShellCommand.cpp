#include "ShellCommand.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <pwd.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <vector>

namespace kyb::helper {
namespace {

constexpr std::size_t kChunkBytes = std::size_t{64} << 10;
constexpr int kChunksAtATime = 8; // so that a command that prints without end does not keep the clients waiting

struct Pipe {
    UniqueFd reading;
    UniqueFd writing;
};

Pipe makePipe() {
    std::array<int, 2> ends{-1, -1};
    if (pipe(ends.data()) != 0) {
        return {};
    }
    for (const int end : ends) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

/// Nothing of the helper's own environment, which belongs to whoever started it.
std::vector<std::string> cleanEnvironment() {
    const passwd *user = getpwuid(geteuid());
    const std::string name = user != nullptr ? user->pw_name : "root";
    const std::string home = user != nullptr ? user->pw_dir : "/";
    return {"PATH=/usr/bin:/bin:/usr/sbin:/sbin",
            "HOME=" + home,
            "USER=" + name,
            "LOGNAME=" + name,
            "SHELL=/bin/sh",
            "LANG=C.UTF-8"};
}

std::vector<char *> pointersTo(std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string &text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// Lets every descriptor but the standard ones close itself where a program is started, those too that this process
/// inherited or that a library opened.
void keepDescriptorsFromPrograms() {
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator("/dev/fd", error)) {
        const int fd = std::atoi(entry.path().filename().c_str());
        if (fd > STDERR_FILENO) {
            fcntl(fd, F_SETFD, FD_CLOEXEC);
        }
    }
}

/// What posix_spawn is told: descriptors, process group, signals.
class ShellSettings {
public:
    explicit ShellSettings(int output) {
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&files, output, STDERR_FILENO);
        posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setsigmask(&attributes, &none);
    }
    ~ShellSettings() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
    }
    ShellSettings(const ShellSettings &) = delete;
    ShellSettings &operator=(const ShellSettings &) = delete;

    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
};

} // namespace

std::unique_ptr<ShellCommand> ShellCommand::start(const std::string &commandLine) {
    Pipe output = makePipe();
    if (!output.reading) {
        return nullptr;
    }
    std::vector<std::string> arguments{"/bin/sh", "-c", commandLine};
    std::vector<std::string> environment = cleanEnvironment();
    keepDescriptorsFromPrograms();
    const ShellSettings settings(output.writing.get());
    pid_t shell = 0;
    if (posix_spawn(&shell, "/bin/sh", &settings.files, &settings.attributes, pointersTo(arguments).data(),
                    pointersTo(environment).data()) != 0) {
        return nullptr;
    }
    return std::unique_ptr<ShellCommand>(new ShellCommand(shell, std::move(output.reading)));
}

ShellCommand::Read ShellCommand::readOnce(const Sink &sink, std::size_t maxBytes, std::size_t &readBytes) {
    std::array<char, kChunkBytes> chunk; // NB: not cleared; only what was read is looked at
    const ssize_t count = read(output_.get(), chunk.data(), std::min(maxBytes, chunk.size()));
    if (count < 0) {
        return errno == EINTR ? Read::Some : Read::NothingYet;
    }
    if (count == 0) {
        return Read::Ended;
    }
    readBytes += static_cast<std::size_t>(count);
    sink(std::string_view(chunk.data(), static_cast<std::size_t>(count)));
    return Read::Some;
}

void ShellCommand::readOutput(const Sink &sink) {
    std::size_t readBytes = 0;
    for (int chunk = 0; chunk < kChunksAtATime && output_; ++chunk) {
        switch (readOnce(sink, kChunkBytes, readBytes)) {
        case Read::Some:
            break;
        case Read::NothingYet:
            return;
        case Read::Ended:
            output_.reset();
        }
    }
}

std::optional<int> ShellCommand::takeEnd(const Sink &sink, LeftBehind leftBehind) {
    siginfo_t ended{};
    if (waitid(P_PID, static_cast<id_t>(shell_), &ended, WEXITED | WNOHANG | WNOWAIT) != 0 || ended.si_pid != shell_) {
        return {};
    }
    if (leftBehind == LeftBehind::Killed) {
        signalGroup(SIGKILL); // before the shell is waited for, while its number is still the group's
    }
    int status = 0;
    waitpid(shell_, &status, 0);
    // What lies in the pipe now is all that the shell can have printed; a process that it left behind may fill it for
    // ever.
    int left = 0;
    if (output_ && ioctl(output_.get(), FIONREAD, &left) != 0) {
        left = 0;
    }
    const auto bytes = static_cast<std::size_t>(left);
    for (std::size_t readBytes = 0; readBytes < bytes && readOnce(sink, bytes - readBytes, readBytes) == Read::Some;) {
    }
    output_.reset();
    return status;
}

void ShellCommand::signalGroup(int signal) const {
    kill(-shell_, signal);
}

} // namespace kyb::helper
