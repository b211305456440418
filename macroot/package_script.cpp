#include "package_script.h"

#include "install_error.h"
#include "posix/file_io.h"
#include "posix/spawn.h"

#include <array>
#include <chrono>
#include <optional>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

namespace kyb::macroot {
namespace {

using namespace std::chrono_literals;

constexpr auto kPollInterval = 50ms;
constexpr auto kGraceBeforeKill = 2s;

pid_t start(const PackageScript &script, int output) {
    std::vector<std::string> arguments = script.arguments;
    arguments.insert(arguments.begin(), script.path);
    const std::optional<pid_t> process = spawn({.arguments = std::move(arguments),
                                                .environment = script.environment,
                                                .descriptors = {kDevNull, output, output},
                                                .group = ProcessGroup::Own,
                                                .workingFolder = script.workingFolder});
    if (!process) {
        throwLastError("The " + script.name + " script cannot be run");
    }
    return *process;
}

/// Cuts what comes through the pipe into lines.
class LineReader {
public:
    LineReader(UniqueFd pipe, const ScriptOutput &output) : pipe_(std::move(pipe)), output_(output) {}

    void waitAndRead() {
        pollfd waited{pipe_.get(), POLLIN, 0}; // poll() ignores -1, and then only waits
        poll(&waited, 1, static_cast<int>(kPollInterval.count()));
        if ((waited.revents & POLLIN) == 0 && (waited.revents & POLLHUP) != 0) {
            pipe_.reset(); // nobody is left who could print
        }
        readAvailable();
    }
    /// Reads what is in the pipe now, and no more: a script may leave a process behind that prints without end.
    void readAvailable() {
        std::array<char, 4096> block{};
        int left = 0;
        ioctl(pipe_.get(), FIONREAD, &left);
        ssize_t got = 1;
        while (left > 0 && (got = read(pipe_.get(), block.data(), block.size())) > 0) {
            take(std::string_view(block.data(), static_cast<std::size_t>(got)));
            left -= static_cast<int>(got);
        }
    }
    void finish() {
        if (!line_.empty()) {
            give();
        }
    }

private:
    void take(std::string_view text) {
        for (const char c : text) {
            if (c == '\n' || isFull(c)) {
                give();
            }
            line_.append(c == '\n' ? 0 : 1, c);
        }
    }
    /// Whether a longer line is cut before \p next: not within a character of UTF-8, if it is any.
    bool isFull(char next) const {
        const bool isWithinCharacter = (static_cast<unsigned char>(next) & 0xC0U) == 0x80;
        return line_.size() >= kLongestLine + (isWithinCharacter ? 3 : 0);
    }
    void give() {
        bytes_ += line_.size();
        const bool isLeftOut = lines_ == kMaxScriptLines || bytes_ > kMaxScriptBytes;
        if (!isOver_) {
            output_(isLeftOut ? "(The rest of what it prints is left out.)" : line_);
            ++lines_;
        }
        isOver_ = isOver_ || isLeftOut;
        line_.clear();
    }

    static constexpr std::size_t kLongestLine = 4096;
    UniqueFd pipe_;
    const ScriptOutput &output_;
    std::string line_;
    int lines_ = 0;
    std::size_t bytes_ = 0;
    bool isOver_ = false;
};

std::optional<int> endOf(pid_t process) {
    int status = 0;
    return waitpid(process, &status, WNOHANG) == process ? std::optional(status) : std::nullopt;
}

/// Ends the script, and then what is left of its group: the grace is for all of them.
void endProcessGroup(pid_t process, LineReader &lines) {
    const auto deadline = std::chrono::steady_clock::now() + kGraceBeforeKill;
    bool isRunning = true;
    kill(-process, SIGTERM);
    while (isRunning || kill(-process, 0) == 0) {
        const bool isLate = std::chrono::steady_clock::now() > deadline;
        if (isLate) {
            kill(-process, SIGKILL);
        }
        isRunning = isRunning && !endOf(process);
        if (isLate && !isRunning) {
            return;
        }
        lines.waitAndRead();
    }
}

int waitForEnd(pid_t process, const SignalWatch &signals, LineReader &lines) {
    std::optional<int> status;
    while (!(status = endOf(process))) {
        if (signals.ending()) {
            endProcessGroup(process, lines);
            signals.check();
        }
        lines.waitAndRead();
    }
    lines.readAvailable();
    lines.finish();
    return *status;
}

} // namespace

void runPackageScript(const PackageScript &script, const SignalWatch &signals, const ScriptOutput &output) {
    Pipe pipe = makePipe();
    if (!pipe.reading) {
        throwLastError("pipe");
    }
    makeNonBlocking(pipe.reading);
    const pid_t process = start(script, pipe.writing.get());
    pipe.writing.reset();
    LineReader lines(std::move(pipe.reading), output);
    const int status = waitForEnd(process, signals, lines);
    if (WIFSIGNALED(status)) {
        throw InstallError("The " + script.name + " script was ended by signal " + std::to_string(WTERMSIG(status)) +
                           ".");
    }
    if (WEXITSTATUS(status) != 0) {
        throw InstallError("The " + script.name + " script failed with status " + std::to_string(WEXITSTATUS(status)) +
                           ".");
    }
}

} // namespace kyb::macroot
