#include "program.h"

#include "package_writer.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <stdexcept>

namespace kyb::macroot {

Program::Program(std::vector<std::string> words) : m_errors(unnamedFile()) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe");
    }
    m_output = UniqueFd(ends[0]);
    const UniqueFd write(ends[1]);
    std::vector<char *> pointers(words.size() + 1, nullptr);
    std::ranges::transform(words, pointers.begin(), [](std::string &word) { return word.data(); });
    std::array<char *, 1> emptyEnvironment{nullptr};
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, write.get(), STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, m_errors.get(), STDERR_FILENO);
    const int failed =
        ::posix_spawn(&m_process, words.at(0).c_str(), &actions, nullptr, pointers.data(), emptyEnvironment.data());
    ::posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) {
        throw std::runtime_error("cannot start " + words.at(0));
    }
}

Program::~Program() {
    if (m_process > 0) {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
    }
}

std::optional<std::string> Program::readLine() {
    std::array<char, 4096> block{};
    std::size_t end = 0;
    while ((end = m_rest.find('\n')) == std::string::npos) {
        const ssize_t got = ::read(m_output.get(), block.data(), block.size());
        if (got <= 0) {
            return std::nullopt;
        }
        m_rest.append(block.data(), static_cast<std::size_t>(got));
    }
    m_lines.push_back(m_rest.substr(0, end));
    m_rest.erase(0, end + 1);
    return m_lines.back();
}

bool Program::readUntil(const std::string &beginning) {
    while (const std::optional<std::string> line = readLine()) {
        if (line->starts_with(beginning)) {
            return true;
        }
    }
    return false;
}

void Program::sendSignal(int signal) const {
    ::kill(m_process, signal);
}

int Program::wait() {
    while (readLine()) {
    }
    int status = 0;
    ::waitpid(m_process, &status, 0);
    m_process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string Program::errors() const {
    std::string text;
    std::array<char, 4096> block{};
    ssize_t got = 0;
    while ((got = ::pread(m_errors.get(), block.data(), block.size(), static_cast<off_t>(text.size()))) > 0) {
        text.append(block.data(), static_cast<std::size_t>(got));
    }
    return text;
}

Ran runProgram(std::vector<std::string> words) {
    Program program(std::move(words));
    Ran ran;
    ran.status = program.wait();
    ran.lines = program.lines();
    ran.errors = program.errors();
    return ran;
}

} // namespace kyb::macroot
