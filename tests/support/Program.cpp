#include "support/Program.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/wait.h>

namespace kyb::test {
namespace {

/// As exec takes them: they point into \p words.
std::vector<char *> pointersTo(std::vector<std::string> &words) {
    std::vector<char *> pointers;
    for (std::string &word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

Program::Program(std::vector<std::string> words, std::vector<std::string> environment)
    : errors_(memfd_create("errors", MFD_CLOEXEC)) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe");
    }
    output_ = UniqueFd(ends[0]);
    const UniqueFd write(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, write.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors_.get(), STDERR_FILENO);
    const int failed = posix_spawn(&process_, words.at(0).c_str(), &actions, nullptr, pointersTo(words).data(),
                                   pointersTo(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) {
        throw std::runtime_error("cannot start " + words.at(0));
    }
}

Program::~Program() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
}

std::optional<std::string> Program::readLine() {
    std::array<char, 4096> block{};
    std::size_t end = 0;
    while ((end = rest_.find('\n')) == std::string::npos) {
        const ssize_t got = read(output_.get(), block.data(), block.size());
        if (got <= 0) {
            return std::nullopt;
        }
        rest_.append(block.data(), static_cast<std::size_t>(got));
    }
    lines_.push_back(rest_.substr(0, end));
    rest_.erase(0, end + 1);
    return lines_.back();
}

bool Program::readUntil(const std::string &beginning) {
    while (const std::optional<std::string> line = readLine()) {
        if (line->starts_with(beginning)) {
            return true;
        }
    }
    return false;
}

bool Program::isQuietFor(int milliseconds) const {
    pollfd output{.fd = output_.get(), .events = POLLIN, .revents = 0};
    return poll(&output, 1, milliseconds) == 0;
}

void Program::sendSignal(int signal) const {
    kill(process_, signal);
}

int Program::wait() {
    while (readLine()) {
    }
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::string Program::errors() const {
    std::string text;
    std::array<char, 4096> block{};
    ssize_t got = 0;
    while ((got = pread(errors_.get(), block.data(), block.size(), static_cast<off_t>(text.size()))) > 0) {
        text.append(block.data(), static_cast<std::size_t>(got));
    }
    return text;
}

Ran finish(Program &program) {
    const int status = program.wait();
    return {status, program.lines(), program.errors()};
}

Ran runProgram(std::vector<std::string> words) {
    Program program(std::move(words));
    return finish(program);
}

char stateOf(pid_t process) {
    std::string number;
    std::string name;
    char state = 'X';
    std::ifstream("/proc/" + std::to_string(process) + "/stat") >> number >> name >> state;
    return state;
}

} // namespace kyb::test
