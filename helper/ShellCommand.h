#pragma once

#include "posix/UniqueFd.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace kyb::helper {

/// One command line that the shell runs beside the helper: in a process group and an environment of its own, its
/// standard output and error in one pipe. One thread. Destroyed before its end it goes on, unread.
class ShellCommand {
public:
    /// Starts "/bin/sh -c" with \p commandLine. The working folder and the umask are the helper's.
    /// \return null when the shell cannot be started.
    static std::unique_ptr<ShellCommand> start(const std::string &commandLine);

    /// Gets what the command printed, piece by piece as it came.
    using Sink = std::function<void(std::string_view)>;

    /// Readable when there is output; -1 after its end.
    int outputFd() const { return output_.get(); }

    /// Passes on what is there, at most some hundred kilobytes.
    void readOutput(const Sink &sink);

    /// What becomes of the processes that the shell leaves behind in its group.
    enum class LeftBehind { Spared, Killed };

    /// The shell's wait status once it has ended; then all that it printed has been passed to \p sink. Processes that
    /// it left behind are not waited for, and what they still print is lost.
    std::optional<int> takeEnd(const Sink &sink, LeftBehind leftBehind);

    /// Sends \p signal to the process group. Before `takeEnd` gave the end.
    void signalGroup(int signal) const;

private:
    ShellCommand(pid_t shell, UniqueFd output) : shell_(shell), output_(std::move(output)) {}

    enum class Read { Some, NothingYet, Ended };
    Read readOnce(const Sink &sink, std::size_t maxBytes, std::size_t &readBytes);

    pid_t shell_;
    UniqueFd output_;
};

} // namespace kyb::helper
