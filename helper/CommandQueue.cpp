#include "CommandQueue.h"

#include "helper_log.h"

#include <algorithm>
#include <csignal>
#include <sys/wait.h>

namespace kyb::helper {
namespace {

using namespace std::chrono_literals;

/// How often a failure is announced when others keep taking the file away.
constexpr int kMaxAnnouncements = 5;

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
    Run run;
    if (request.progressFilePath) {
        std::optional<ProgressFile> file = ProgressFile::create(*request.progressFilePath);
        if (!file) {
            logLine("Refused, for the progress file cannot be made: " + request.commandLine);
            request.answer({});
            return;
        }
        run.report.emplace(std::move(*file));
    }
    run.request = std::move(request);
    runs_.push_back(std::move(run));
}

void CommandQueue::work() {
    while (!runs_.empty() && advance(runs_.front()) == Step::GoesOn) {
    }
}

CommandQueue::Step CommandQueue::advance(Run &run) {
    if (run.doneAt) {
        return conclude(run);
    }
    if (run.command == nullptr) {
        start(run);
        return Step::GoesOn;
    }
    readOutput(run);
    const auto leftBehind =
        run.endedBecause.empty() ? ShellCommand::LeftBehind::Spared : ShellCommand::LeftBehind::Killed;
    if (const std::optional<int> waitStatus = run.command->takeEnd(sinkOf(run), leftBehind)) {
        settle(run, *waitStatus);
        return Step::GoesOn;
    }
    keepLimits(run);
    return Step::Waits;
}

void CommandQueue::start(Run &run) {
    logLine("Start: " + run.request.commandLine);
    run.silentUntil = SteadyClock::now() + limits_.silence;
    run.command = ShellCommand::start(run.request.commandLine);
    if (run.command == nullptr) {
        run.reply = "Command could not be started";
        run.failure = "the shell could not be started";
        announce(run);
    }
}

ShellCommand::Sink CommandQueue::sinkOf(Run &run) {
    return [this, &run](std::string_view bytes) {
        run.silentUntil = SteadyClock::now() + limits_.silence;
        if (run.report) {
            run.report->addOutput(bytes);
            dropClientOfLostReport(run);
        }
    };
}

void CommandQueue::readOutput(Run &run) {
    run.command->readOutput(sinkOf(run));
}

void CommandQueue::keepLimits(Run &run) {
    const SteadyClock::time_point now = SteadyClock::now();
    if (run.killAt && now >= *run.killAt) {
        run.command->signalGroup(SIGKILL);
        run.killAt.reset();
    } else if (run.endedBecause.empty() && now >= run.silentUntil) {
        end(run, "no output for " + spelled(limits_.silence));
    }
}

void CommandQueue::end(Run &run, const std::string &reason) {
    run.endedBecause = reason;
    run.command->signalGroup(SIGTERM);
    run.killAt = SteadyClock::now() + limits_.killGrace;
}

void CommandQueue::settle(Run &run, int waitStatus) {
    const bool wasEnded = !run.endedBecause.empty();
    run.reply = wasEnded ? "Command was ended: " + run.endedBecause : statusReply(waitStatus);
    run.failure = wasEnded ? run.endedBecause : statusFailure(waitStatus);
    announce(run);
}

void CommandQueue::announce(Run &run) {
    logLine(run.reply);
    run.doneAt = SteadyClock::now();
    if (!run.failure.empty() && run.report) {
        run.report->announceFailure(run.failure);
        run.announcements = 1;
        *run.doneAt = SteadyClock::now() + limits_.failureHold;
    }
}

CommandQueue::Step CommandQueue::conclude(Run &run) {
    if (SteadyClock::now() < *run.doneAt) {
        return Step::Waits;
    }
    if (!run.failure.empty() && run.report &&
        run.report->checkAnnouncement(run.failure) == ProgressReport::Announcement::MadeAnew) {
        if (++run.announcements <= kMaxAnnouncements) {
            *run.doneAt = SteadyClock::now() + limits_.failureHold;
            return Step::Waits;
        }
        dropClient(run, "Others keep taking the progress file away; its client is dropped.");
    }
    if (run.report) {
        run.report->finish();
        dropClientOfLostReport(run);
    }
    if (run.request.answer) {
        run.request.answer(run.reply);
    }
    runs_.pop_front();
    return Step::GoesOn;
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

void CommandQueue::endAll() {
    constexpr char reason[] = "the helper was asked to end";
    for (Run &run : runs_) {
        if (run.command != nullptr && !run.doneAt && run.endedBecause.empty()) {
            end(run, reason);
        } else if (run.command == nullptr && !run.doneAt) {
            run.reply = std::string("Command was not started: ") + reason;
            run.failure = reason;
            announce(run);
        }
    }
}

int CommandQueue::outputFd() const {
    const bool isRunning = !runs_.empty() && runs_.front().command != nullptr && !runs_.front().doneAt;
    return isRunning ? runs_.front().command->outputFd() : -1;
}

std::optional<SteadyClock::time_point> CommandQueue::deadline() const {
    if (runs_.empty()) {
        return {};
    }
    const Run &run = runs_.front();
    if (run.doneAt) {
        return run.doneAt;
    }
    if (run.command == nullptr) {
        return SteadyClock::time_point{}; // it is to be started now
    }
    if (!run.endedBecause.empty()) {
        return run.killAt;
    }
    return run.silentUntil;
}

} // namespace kyb::helper
