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
    std::chrono::milliseconds silence = std::chrono::hours(2);     ///< no output for so long: the command has failed
    std::chrono::milliseconds killGrace = std::chrono::seconds(5); ///< from SIGTERM to SIGKILL

    // How long a finished progress file is looked after. Its reader looks some 16 times a second, but sleeps once for
    // two seconds when it finds no file; one that is stopped meanwhile must still meet the failure before the end.
    std::chrono::milliseconds successHold = std::chrono::seconds(3);
    std::chrono::milliseconds failureHold = std::chrono::seconds(10);

    // A client stays after the reply to a failure; it may be stopped between its looks at the last two lines.
    std::chrono::milliseconds departure = std::chrono::hours(1); ///< how long its going is waited for

    // How old a success must be to make way for the next installation, whose program took the file away before it
    // asked: the file is put back within 200 ms, and a reader that had not looked yet does so some 110 ms later, or
    // more on a busy machine. The next program waits for its own file twice as long.
    std::chrono::milliseconds successShow = std::chrono::seconds(1);
    std::chrono::milliseconds lookInterval = std::chrono::milliseconds(100); ///< from look to look
};

/// What a client asks for.
struct CommandRequest {
    std::string commandLine;

    /// Where the client wants to read the progress; the service lets only the one fixed path through to here.
    std::optional<std::string> progressFilePath;

    /// Called once: with the reply when the command has ended, or with nothing when the client is to be dropped.
    std::function<void(const std::optional<std::string> &reply)> answer;

    /// Called when the progress file exists, before `answer`; may be empty.
    std::function<void()> fileIsMade = {};

    /// Whether the client is still there, also after the reply; may be empty when that is not known.
    std::function<bool()> isConnected = {};
};

/// Runs the commands, one at a time, in the order in which they were added. Never waits: whoever owns it polls
/// `outputFd` until `deadline`, also for the end of a child (helper_signals.h), and calls `work`. One thread.
class CommandQueue {
public:
    explicit CommandQueue(CommandLimits limits) : limits_(limits) {}

    /// Adds a command. Its progress file exists when this returns, unless a success is too young to make way for it. A
    /// second request for the file before the command of a first has ended, or one whose file cannot be made or whose
    /// client has gone before, is answered with nothing. A file that is only looked after still is given up for the new
    /// one.
    void add(CommandRequest request);

    /// Takes the commands as far as they go now.
    void work();

    /// Ends the command that runs, and forgets the others. Their clients are dropped, and their progress files ended
    /// unless others have put something else into their places. `work` until `isEmpty`.
    void endAll();

    bool isEmpty() const { return size() == 0; }
    std::size_t size() const { return runs_.size() + (held_ ? 1 : 0); }

    /// Readable when the command has printed something; -1 when there is nothing to wait for.
    int outputFd() const;

    /// When `work` has something to do although nothing came; the clock's last moment when never.
    SteadyClock::time_point deadline() const;

private:
    static constexpr SteadyClock::time_point kAtOnce{};
    static constexpr SteadyClock::time_point kNever = SteadyClock::time_point::max();

    /// A run's life, and what its deadline is meanwhile.
    enum class Stage {
        Waiting, ///< for its turn; when it may have its progress file, at once when it has it or wants none
        Running, ///< when it has been silent for too long
        Ending,  ///< SIGTERM was sent; when to look whether nothing of it is left
        Ended,   ///< at once
    };

    struct Run {
        CommandRequest request;
        std::optional<ProgressReport> report;
        std::unique_ptr<ShellCommand> command; ///< from its start to its end
        Stage stage = Stage::Waiting;
        SteadyClock::time_point deadline = kAtOnce;
        SteadyClock::time_point killAt = kNever; ///< from when on SIGKILL is sent at each look
        std::string failure;                     ///< why it is being ended
    };

    /// A run that has ended, and its file, which the reader may still have to look at.
    struct HeldRun {
        Run run;
        std::string reply;
        bool hasFailed = false;
        bool isAnswered = false;
        SteadyClock::time_point shownUntil; ///< it does not make way before
        SteadyClock::time_point until;
        SteadyClock::time_point nextLook;
        bool wasMissed = false; ///< whether the file was not in its place at the last look
        int restorations = 0;   ///< of the file
    };

    bool isRefused(const CommandRequest &request) const;
    static bool lacksFile(const Run &run);
    void makeFile(Run &run);
    static void refuse(Run &run, const std::string &reason);
    enum class Step { Waits, GoesOn };
    Step advance(Run &run);
    void start(Run &run);
    void follow(Run &run);
    void terminate(Run &run, const std::string &reason);
    void pressOn(Run &run);
    void leave(Run &run);
    void end(Run &run, std::string reply, const std::string &failure);
    ShellCommand::Sink sinkOf(Run &run);

    void hold(Run &run, const std::string &reply, bool hasFailed);
    void lookAfterHeld();
    static void putBack(HeldRun &held);
    static bool isForsaken(const HeldRun &held);
    bool isOver(HeldRun &held) const;
    static void answer(HeldRun &held);
    void concludeHeld();
    void giveUpHeld();

    static void conclude(Run &run, const std::string &reply);
    static void dropClient(Run &run, const char *message);
    static void dropClientOfLostReport(Run &run);

    CommandLimits limits_;
    std::deque<Run> runs_; ///< the first is the one that runs
    std::optional<HeldRun> held_;
};

} // namespace kyb::helper
