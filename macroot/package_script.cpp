#include "package_script.h"

#include "install_error.h"
#include "posix/UniqueFd.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>

namespace kyb::macroot {

namespace {

using namespace std::chrono_literals;

constexpr auto lookAgainAfter = 50ms;
constexpr auto graceBeforeKill = 2s;

struct Pipe {
    UniqueFd read;
    UniqueFd write;
};

Pipe makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throwLastError("pipe");
    }
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

std::vector<char *> pointersTo(std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    std::ranges::transform(texts, std::back_inserter(pointers), [](std::string &text) { return text.data(); });
    pointers.push_back(nullptr);
    return pointers;
}

/// How the script's process starts: output to the pipe, no input, a process group of its own, no signal held back.
class SpawnPlan {
public:
    SpawnPlan(const std::string &workingFolder, int output) {
        sigset_t none;
        sigset_t ignoredHere;
        sigemptyset(&none);
        sigemptyset(&ignoredHere);
        sigaddset(&ignoredHere, SIGPIPE);
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO);
        ::posix_spawn_file_actions_adddup2(&m_actions, output, STDERR_FILENO);
        ::posix_spawn_file_actions_addchdir_np(&m_actions, workingFolder.c_str());
        ::posix_spawnattr_init(&m_attributes);
        ::posix_spawnattr_setsigmask(&m_attributes, &none);
        ::posix_spawnattr_setsigdefault(&m_attributes, &ignoredHere);
        ::posix_spawnattr_setflags(&m_attributes,
                                   POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    }
    SpawnPlan(const SpawnPlan &) = delete;
    SpawnPlan &operator=(const SpawnPlan &) = delete;
    ~SpawnPlan() {
        ::posix_spawn_file_actions_destroy(&m_actions);
        ::posix_spawnattr_destroy(&m_attributes);
    }

    [[nodiscard]] pid_t start(const PackageScript &script) const {
        std::vector<std::string> arguments = script.arguments;
        arguments.insert(arguments.begin(), script.path);
        std::vector<std::string> environment = script.environment;
        pid_t process = -1;
        errno = ::posix_spawn(&process, script.path.c_str(), &m_actions, &m_attributes, pointersTo(arguments).data(),
                              pointersTo(environment).data());
        if (errno != 0) {
            throwLastError("The " + script.name + " script cannot be run");
        }
        return process;
    }

private:
    posix_spawn_file_actions_t m_actions = {};
    posix_spawnattr_t m_attributes = {};
};

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
    const pid_t process = SpawnPlan(script.workingFolder, pipe.write.get()).start(script);
    pipe.write = UniqueFd();
    LineReader lines(std::move(pipe.read), output);
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
