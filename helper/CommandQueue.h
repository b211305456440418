#pragma once

#include "ProgressReport.h"
#include "ShellCommand.h"

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kyb::helper {

using SteadyClock = std::chrono::steady_clock;

struct CommandLimits {
    std::chrono::milliseconds silence = std::chrono::hours(2);       ///< no output for so long: the command has failed
    std::chrono::milliseconds killGrace = std::chrono::seconds(5);   ///< from SIGTERM to SIGKILL
    std::chrono::milliseconds failureHold = std::chrono::seconds(1); ///< how long the last line waits after a failure
};

/// What a client asks for.
struct CommandRequest {
    std::string commandLine;

    /// Where the client wants to read the progress; the service lets only the one fixed path through to here.
    std::optional<std::string> progressFilePath;

    /// Called once: with the reply when the command has ended, or with nothing when the client is to be dropped.
    std::function<void(const std::optional<std::string> &reply)> answer;
};

/// Runs the commands, one at a time, in the order in which they were added. Never waits: whoever owns it polls
/// `outputFd` until `deadline`, also for the end of a child (helper_signals.h), and calls `work`. One thread.
class CommandQueue {
public:
    explicit CommandQueue(CommandLimits limits) : limits_(limits) {}

    /// Adds a command. Its progress file exists when this returns. A second request for the file while a first is not
    /// done, or one whose file cannot be made, is answered with nothing at once.
    void add(CommandRequest request);

    /// Takes the commands as far as they go now.
    void work();

    /// Ends the command that runs, as failed, and forgets the others, as failed too. `work` until `isEmpty` brings the
    /// last lines into the progress file.
    void endAll();

    bool isEmpty() const { return runs_.empty(); }
    std::size_t size() const { return runs_.size(); }

    /// Readable when the command has printed something; -1 when there is nothing to wait for.
    int outputFd() const;

    /// When `work` has something to do although nothing came; the clock's last moment when never.
    SteadyClock::time_point deadline() const;

private:
    static constexpr SteadyClock::time_point kAtOnce{};
    static constexpr SteadyClock::time_point kNever = SteadyClock::time_point::max();

    /// A run's life, and what its deadline is meanwhile. A command that ends goes to Ended from wherever it is.
    enum class Stage {
        Waiting,     ///< for its turn; at once when that has come
        Running,     ///< when it has been silent for too long
        Terminating, ///< SIGTERM was sent; when SIGKILL is due
        Killed,      ///< SIGKILL was sent; never
        Ended,       ///< the outcome is known, a failure announced; when the last line is due
    };

    struct Run {
        CommandRequest request;
        std::optional<ProgressReport> report;
        std::unique_ptr<ShellCommand> command; ///< from its start to its end
        Stage stage = Stage::Waiting;
        SteadyClock::time_point deadline = kAtOnce;
        std::string reply;
        std::string failure;   ///< why the command counts as failed, empty: it does not
        int announcements = 0; ///< of the failure, in the progress file
    };

    bool isRefused(const CommandRequest &request) const;
    enum class Step { Waits, GoesOn };
    Step advance(Run &run);
    static void enter(Run &run, Stage stage, SteadyClock::time_point deadline);
    void start(Run &run);
    void follow(Run &run);
    void terminate(Run &run, const std::string &reason);
    void end(Run &run, const std::string &reply, const std::string &failure);
    void conclude(Run &run);
    void dropClientOfLostReport(Run &run);
    static void dropClient(Run &run, const char *message);
    ShellCommand::Sink sinkOf(Run &run);

    CommandLimits limits_;
    std::deque<Run> runs_; ///< the first is the one that runs
};

} // namespace kyb::helper
