#pragma once

#include "posix/UniqueFd.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace kyb::helper {

/// One command line that the shell runs beside the helper: in a session and an environment of its own, its standard
/// output and error in one pipe. One thread. Destroyed before its end it goes on, unread.
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

    /// Whose end counts: the shell's, which may leave processes behind that go on, or that of all in its session.
    enum class EndOf { Shell, Session };

    /// The shell's wait status, once \p what has ended; then all that the shell printed has been passed to \p sink.
    /// What others still print is lost.
    std::optional<int> takeEnd(const Sink &sink, EndOf what);

    /// Sends SIGTERM to the shell's process group. What runs in others is for those who started it to end. Before
    /// `takeEnd` gave the end, as the next one.
    void terminate() const;

    /// Sends SIGKILL to every process of the session. One that is just being started may escape: to be called again
    /// until `takeEnd` gives the end of the session.
    void killAll() const;

private:
    ShellCommand(pid_t shell, UniqueFd output) : shell_(shell), output_(std::move(output)) {}

    enum class Read { Some, NothingYet, Ended };
    Read readOnce(const Sink &sink, std::size_t maxBytes, std::size_t &readBytes);

    pid_t shell_;
    UniqueFd output_;
};

} // namespace kyb::helper
