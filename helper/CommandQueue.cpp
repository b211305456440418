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
    if (run.command != nullptr) {
        follow(run);
    }
    if (SteadyClock::now() < run.deadline) {
        return Step::Waits;
    }
    switch (run.stage) {
    case Stage::Waiting:
        start(run);
        break;
    case Stage::Running:
        terminate(run, "no output for " + spelled(limits_.silence));
        break;
    case Stage::Terminating:
        run.command->signalGroup(SIGKILL);
        enter(run, Stage::Killed, kNever);
        break;
    case Stage::Killed:
        return Step::Waits;
    case Stage::Ended:
        conclude(run);
        break;
    }
    return Step::GoesOn;
}

void CommandQueue::enter(Run &run, Stage stage, SteadyClock::time_point deadline) {
    run.stage = stage;
    run.deadline = deadline;
}

void CommandQueue::start(Run &run) {
    logLine("Start: " + run.request.commandLine);
    enter(run, Stage::Running, SteadyClock::now() + limits_.silence);
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

/// Passes on what the command prints, and notes its end.
void CommandQueue::follow(Run &run) {
    const bool isAskedToEnd = run.stage != Stage::Running;
    const auto leftBehind = isAskedToEnd ? ShellCommand::LeftBehind::Killed : ShellCommand::LeftBehind::Spared;
    run.command->readOutput(sinkOf(run));
    const std::optional<int> waitStatus = run.command->takeEnd(sinkOf(run), leftBehind);
    if (waitStatus && isAskedToEnd) {
        end(run, "Command was ended: " + run.failure, run.failure);
    } else if (waitStatus) {
        end(run, statusReply(*waitStatus), statusFailure(*waitStatus));
    }
}

void CommandQueue::terminate(Run &run, const std::string &reason) {
    run.failure = reason;
    run.command->signalGroup(SIGTERM);
    enter(run, Stage::Terminating, SteadyClock::now() + limits_.killGrace);
}

void CommandQueue::end(Run &run, const std::string &reply, const std::string &failure) {
    logLine(reply);
    run.command.reset();
    run.reply = reply;
    run.failure = failure;
    enter(run, Stage::Ended, kAtOnce);
    if (!failure.empty() && run.report) {
        run.report->announceFailure(failure);
        run.announcements = 1;
        run.deadline = SteadyClock::now() + limits_.failureHold;
    }
}

void CommandQueue::conclude(Run &run) {
    if (run.announcements > 0 && run.report->checkAnnouncement(run.failure) == ProgressReport::Announcement::MadeAnew) {
        if (++run.announcements <= kMaxAnnouncements) {
            run.deadline = SteadyClock::now() + limits_.failureHold;
            return;
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
    const std::string reason = "the helper was asked to end";
    for (Run &run : runs_) {
        if (run.stage == Stage::Running) {
            terminate(run, reason);
        } else if (run.stage == Stage::Waiting) {
            end(run, "Command was not started: " + reason, reason);
        }
    }
}

int CommandQueue::outputFd() const {
    return runs_.empty() || runs_.front().command == nullptr ? -1 : runs_.front().command->outputFd();
}

SteadyClock::time_point CommandQueue::deadline() const {
    return runs_.empty() ? kNever : runs_.front().deadline;
}

} // namespace kyb::helper
