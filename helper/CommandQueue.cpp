#include "CommandQueue.h"

#include "helper_log.h"

#include <algorithm>
#include <csignal>
#include <sys/wait.h>
#include <utility>

namespace kyb::helper {
namespace {

using namespace std::chrono_literals;

/// How often a finished file is put back when others keep taking it away.
constexpr int kMaxRestorations = 5;

/// From look to look whether a command that is being ended has gone with all its processes.
constexpr auto kEndingInterval = 20ms;

std::string spelled(std::chrono::milliseconds duration) {
    if (duration % 1h == 0ms) {
        return std::to_string(duration / 1h) + " hours";
    }
    return std::to_string(duration.count()) + " ms";
}

std::string statusReply(int waitStatus) {
    return WIFSIGNALED(waitStatus) ? "Command was ended by signal " + std::to_string(WTERMSIG(waitStatus))
                                   : "Command finished with status " + std::to_string(WEXITSTATUS(waitStatus));
}

/// Why a command that ended with \p waitStatus has failed; empty when it has not.
std::string statusFailure(int waitStatus) {
    if (WIFSIGNALED(waitStatus)) {
        return "signal " + std::to_string(WTERMSIG(waitStatus));
    }
    return WEXITSTATUS(waitStatus) == 0 ? std::string() : "exit status " + std::to_string(WEXITSTATUS(waitStatus));
}

} // namespace

bool CommandQueue::isRefused(const CommandRequest &request) const {
    return request.progressFilePath && std::any_of(runs_.begin(), runs_.end(), [](const Run &run) {
               return run.request.progressFilePath.has_value();
           });
}

void CommandQueue::add(CommandRequest request) {
    if (isRefused(request)) {
        logLine("Refused, for another installation is not done: " + request.commandLine);
        request.answer({});
        return;
    }
    runs_.emplace_back();
    runs_.back().request = std::move(request);
    makeFile(runs_.back());
}

bool CommandQueue::lacksFile(const Run &run) {
    return run.stage == Stage::Waiting && run.request.progressFilePath && !run.report;
}

void CommandQueue::makeFile(Run &run) {
    if (!lacksFile(run)) {
        return;
    }
    run.deadline = held_ && !isForsaken(*held_) ? held_->shownUntil : kAtOnce;
    if (SteadyClock::now() < run.deadline) {
        return;
    }
    if (run.request.isConnected && !run.request.isConnected()) { // it has been told that the run failed
        refuse(run, "its client has gone");
        return;
    }
    giveUpHeld();
    if (std::optional<ProgressFile> file = ProgressFile::create(*run.request.progressFilePath)) {
        run.report.emplace(std::move(*file));
        if (run.request.fileIsMade) {
            run.request.fileIsMade();
        }
    } else {
        refuse(run, "the progress file cannot be made");
    }
}

void CommandQueue::refuse(Run &run, const std::string &reason) {
    logLine("Refused, for " + reason + ": " + run.request.commandLine);
    run.request.answer({});
    run.request = {};
    run.stage = Stage::Ended;
}

void CommandQueue::work() {
    for (Run &run : runs_) {
        makeFile(run);
    }
    while (!runs_.empty() && advance(runs_.front()) == Step::GoesOn) {
    }
    lookAfterHeld();
}

void CommandQueue::endAll() {
    const std::string reason = "the helper was asked to end";
    giveUpHeld();
    for (Run &run : runs_) {
        leave(run);
        if (run.stage == Stage::Running) {
            terminate(run, reason);
        } else if (run.stage == Stage::Waiting) {
            end(run, "Command was not started: " + reason, reason);
        }
    }
}

/// Lets go of whoever waits for \p run, and of its file: the next helper may write one of its own soon.
void CommandQueue::leave(Run &run) {
    dropClient(run, "The client of a command that is not done is dropped.");
    if (run.report) {
        run.report->leaveToOthers();
    }
}

// ---- The command that runs

CommandQueue::Step CommandQueue::advance(Run &run) {
    if (run.command != nullptr) {
        follow(run);
    }
    if (SteadyClock::now() < run.deadline || lacksFile(run)) {
        return Step::Waits;
    }
    switch (run.stage) {
    case Stage::Waiting:
        start(run);
        break;
    case Stage::Running:
        terminate(run, "no output for " + spelled(limits_.silence));
        break;
    case Stage::Ending:
        pressOn(run);
        break;
    case Stage::Ended:
        runs_.pop_front();
        break;
    }
    return Step::GoesOn;
}

void CommandQueue::start(Run &run) {
    logLine("Start: " + run.request.commandLine);
    run.stage = Stage::Running;
    run.deadline = SteadyClock::now() + limits_.silence;
    run.command = ShellCommand::start(run.request.commandLine);
    if (run.command == nullptr) {
        end(run, "Command could not be started", "the shell could not be started");
    }
}

ShellCommand::Sink CommandQueue::sinkOf(Run &run) {
    return [this, &run](std::string_view bytes) {
        if (run.stage == Stage::Running) {
            run.deadline = SteadyClock::now() + limits_.silence;
        }
        if (run.report) {
            run.report->addOutput(bytes);
            dropClientOfLostReport(run);
        }
    };
}

/// Passes on what the command prints, and notes its end. One that ends by itself may leave processes behind; one that
/// is ended leaves none.
void CommandQueue::follow(Run &run) {
    const bool isBeingEnded = run.stage == Stage::Ending;
    run.command->readOutput(sinkOf(run));
    const std::optional<int> waitStatus =
        run.command->takeEnd(sinkOf(run), isBeingEnded ? ShellCommand::EndOf::Session : ShellCommand::EndOf::Shell);
    if (waitStatus && isBeingEnded) {
        end(run, "Command was ended: " + run.failure, run.failure);
    } else if (waitStatus) {
        end(run, statusReply(*waitStatus), statusFailure(*waitStatus));
    }
}

void CommandQueue::terminate(Run &run, const std::string &reason) {
    run.failure = reason;
    run.command->terminate();
    run.stage = Stage::Ending;
    run.killAt = SteadyClock::now() + limits_.killGrace;
    run.deadline = kAtOnce;
}

void CommandQueue::pressOn(Run &run) {
    if (SteadyClock::now() >= run.killAt) {
        run.command->killAll();
    }
    run.deadline = SteadyClock::now() + kEndingInterval;
}

void CommandQueue::end(Run &run, std::string reply, const std::string &failure) {
    run.command.reset();
    run.stage = Stage::Ended;
    run.deadline = kAtOnce;
    const bool hasFailed = !failure.empty() || (run.report && run.report->endsWithFailure());
    if (run.report && !hasFailed) {
        run.report->succeed();
    } else if (run.report) {
        reply += ": " + run.report->fail(failure);
        const std::string error = run.report->untoldError();
        reply += error.empty() ? "" : " (" + error + ")";
    }
    logLine(reply);
    if (run.report && run.request.answer && !run.report->isLost()) {
        hold(run, reply, hasFailed);
    } else {
        conclude(run, reply);
    }
}

// ---- The run that has ended

void CommandQueue::hold(Run &run, const std::string &reply, bool hasFailed) {
    const auto now = SteadyClock::now();
    held_.emplace(HeldRun{.run = std::exchange(run, Run()),
                          .reply = reply,
                          .hasFailed = hasFailed,
                          .shownUntil = hasFailed ? kAtOnce : now + limits_.successShow,
                          .until = now + (hasFailed ? limits_.failureHold : limits_.successHold),
                          .nextLook = now + limits_.lookInterval});
    run.stage = Stage::Ended;
}

void CommandQueue::lookAfterHeld() {
    const auto now = SteadyClock::now();
    if (!held_ || now < held_->nextLook) {
        return;
    }
    if (isForsaken(*held_)) {
        held_->run.report->leaveToOthers();
        concludeHeld();
        return;
    }
    const bool isMissed = !held_->run.report->isInPlace();
    // NB: not at once. A client that takes the file away for a run of its own must not find the old one in its place.
    if (isMissed && held_->wasMissed) {
        putBack(*held_);
    }
    held_->wasMissed = isMissed && !held_->wasMissed;
    held_->nextLook = now + limits_.lookInterval;
    const bool isDropped = !held_->run.request.answer && !held_->isAnswered;
    if (isDropped || ((!isMissed || held_->isAnswered) && isOver(*held_))) {
        concludeHeld();
    }
}

/// Whether its client has gone: whoever takes the file away does so for a run of his own.
bool CommandQueue::isForsaken(const HeldRun &held) {
    const CommandRequest &request = held.run.request;
    return request.isConnected && !request.isConnected();
}

/// Whether nobody is left who could miss the failure for the last line. The client stays as long as its process lives.
bool CommandQueue::isOver(HeldRun &held) const {
    const auto now = SteadyClock::now();
    const CommandRequest &request = held.run.request;
    if (now < held.until) {
        return false;
    }
    if (!held.hasFailed || !request.isConnected || now >= held.until + limits_.departure) {
        return true;
    }
    answer(held);
    return false;
}

void CommandQueue::answer(HeldRun &held) {
    if (!held.isAnswered) {
        held.run.request.answer(held.reply);
        held.run.request.answer = nullptr;
        held.isAnswered = true;
    }
}

void CommandQueue::putBack(HeldRun &held) {
    if (++held.restorations > kMaxRestorations) {
        dropClient(held.run, "Others keep taking the progress file away; its client is dropped.");
        return;
    }
    held.run.report->restore();
    dropClientOfLostReport(held.run);
}

void CommandQueue::concludeHeld() {
    conclude(held_->run, held_->reply);
    held_.reset();
}

/// Makes way for another. Whoever waits for a failure may not have seen it yet, and must not miss it.
void CommandQueue::giveUpHeld() {
    if (!held_) {
        return;
    }
    held_->run.report->leaveToOthers();
    if (held_->hasFailed) {
        dropClient(held_->run, "The client of a failed command is dropped, since another follows.");
    }
    concludeHeld();
}

void CommandQueue::conclude(Run &run, const std::string &reply) {
    if (run.report) {
        run.report->complete();
        dropClientOfLostReport(run);
    }
    if (run.request.answer) {
        run.request.answer(reply);
    }
}

void CommandQueue::dropClientOfLostReport(Run &run) {
    if (run.report->isLost()) {
        dropClient(run, "The progress file cannot be written; its client is dropped.");
    }
}

void CommandQueue::dropClient(Run &run, const char *message) {
    if (run.request.answer) {
        logLine(message);
        run.request.answer({});
        run.request.answer = nullptr;
    }
}

int CommandQueue::outputFd() const {
    return runs_.empty() || runs_.front().command == nullptr ? -1 : runs_.front().command->outputFd();
}

SteadyClock::time_point CommandQueue::deadline() const {
    return std::min(runs_.empty() ? kNever : runs_.front().deadline, held_ ? held_->nextLook : kNever);
}

} // namespace kyb::helper
