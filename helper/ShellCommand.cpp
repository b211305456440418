#include "ShellCommand.h"

#include "command_locale.h"
#include "posix/file_io.h"
#include "posix/spawn.h"
#include "session.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <vector>

namespace kyb::helper {
namespace {

constexpr std::size_t kChunkBytes = std::size_t{64} << 10;
constexpr int kChunksAtATime = 8; // so that a command that prints without end does not keep the clients waiting

/// Nothing of the helper's own environment, which belongs to whoever started it.
std::vector<std::string> cleanEnvironment() {
    const passwd *user = getpwuid(geteuid());
    const std::string name = user != nullptr ? user->pw_name : "root";
    const std::string home = user != nullptr ? user->pw_dir : "/";
    return {"PATH=/usr/bin:/bin:/usr/sbin:/sbin", "HOME=" + home, "USER=" + name, "LOGNAME=" + name, "SHELL=/bin/sh",
            std::string("LANG=") + kCommandLocale};
}

/// Whether nobody but the leader is left in its session.
bool isAloneInSession(pid_t leader) {
    bool isAlone = true;
    visitOthersInSession(leader, [&isAlone](pid_t) { isAlone = false; });
    return isAlone;
}

} // namespace

std::unique_ptr<ShellCommand> ShellCommand::start(const std::string &commandLine) {
    Pipe output = makePipe();
    makeNonBlocking(output.reading);
    const std::optional<pid_t> shell = spawn({.arguments = {"/bin/sh", "-c", commandLine},
                                              .environment = cleanEnvironment(),
                                              .descriptors = {kDevNull, output.writing.get(), output.writing.get()},
                                              .group = ProcessGroup::OwnSession});
    if (!shell) {
        return nullptr;
    }
    return std::unique_ptr<ShellCommand>(new ShellCommand(*shell, std::move(output.reading)));
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

std::optional<int> ShellCommand::takeEnd(const Sink &sink, EndOf what) {
    siginfo_t ended{};
    if (waitid(P_PID, static_cast<id_t>(shell_), &ended, WEXITED | WNOHANG | WNOWAIT) != 0 || ended.si_pid != shell_) {
        return {};
    }
    // NB: before the shell is waited for, while its number still is the session's and nobody else's.
    if (what == EndOf::Session && !isAloneInSession(shell_)) {
        return {};
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

void ShellCommand::terminate() const {
    kill(-shell_, SIGTERM);
}

void ShellCommand::killAll() const {
    kill(shell_, SIGKILL);
    visitOthersInSession(shell_, [](pid_t process) { kill(process, SIGKILL); });
}

} // namespace kyb::helper
