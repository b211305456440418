#include "package_script.h"

#include "install_error.h"
#include "posix/file_io.h"
#include "posix/spawn.h"

#include <poll.h>
#include <sys/wait.h>

#include <array>
#include <chrono>
#include <optional>

namespace kyb::macroot {

namespace {

using namespace std::chrono_literals;

constexpr auto lookAgainAfter = 50ms;
constexpr auto graceBeforeKill = 2s;

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
    LineReader(UniqueFd pipe, const ScriptOutput &output) : m_pipe(std::move(pipe)), m_output(output) {}

    void waitAndRead() {
        pollfd waited{m_pipe.get(), POLLIN, 0}; // poll() ignores -1, and then only waits
        ::poll(&waited, 1, static_cast<int>(lookAgainAfter.count()));
        readAvailable();
    }
    void readAvailable() {
        std::array<char, 4096> block{};
        ssize_t got = 0;
        while (m_pipe && (got = ::read(m_pipe.get(), block.data(), block.size())) > 0) {
            take(std::string_view(block.data(), static_cast<std::size_t>(got)));
        }
        if (got == 0) {
            m_pipe = UniqueFd();
        }
    }
    void finish() {
        if (!m_line.empty()) {
            m_output(std::exchange(m_line, {}));
        }
    }

private:
    void take(std::string_view text) {
        for (const char c : text) {
            if (c == '\n' || m_line.size() == longestLine) {
                m_output(std::exchange(m_line, {}));
            }
            m_line.append(c == '\n' ? 0 : 1, c);
        }
    }

    static constexpr std::size_t longestLine = 4096;
    UniqueFd m_pipe;
    const ScriptOutput &m_output;
    std::string m_line;
};

std::optional<int> endOf(pid_t process) {
    int status = 0;
    return ::waitpid(process, &status, WNOHANG) == process ? std::optional(status) : std::nullopt;
}

void endProcessGroup(pid_t process) {
    const auto deadline = std::chrono::steady_clock::now() + graceBeforeKill;
    ::kill(-process, SIGTERM);
    while (!endOf(process)) {
        if (std::chrono::steady_clock::now() > deadline) {
            ::kill(-process, SIGKILL);
        }
        ::poll(nullptr, 0, static_cast<int>(lookAgainAfter.count()));
    }
}

int waitForEnd(pid_t process, const SignalWatch &signals, LineReader &lines) {
    std::optional<int> status;
    while (!(status = endOf(process))) {
        if (signals.ending()) {
            endProcessGroup(process);
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
