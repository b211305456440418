#include "program.h"

#include "package_writer.h"
#include "posix/file_io.h"
#include "posix/spawn.h"

#include <sys/wait.h>

#include <array>
#include <csignal>
#include <stdexcept>

namespace kyb::macroot {

Program::Program(const std::vector<std::string> &words) : m_errors(unnamedFile()) {
    Pipe output = makePipe();
    const std::optional<pid_t> process = spawn({.arguments = words,
                                                .environment = std::vector<std::string>(),
                                                .descriptors = {kDevNull, output.writing.get(), m_errors.get()}});
    if (!process) {
        throw std::runtime_error("cannot start " + words.at(0));
    }
    m_process = *process;
    m_output = std::move(output.reading);
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

Ran runProgram(const std::vector<std::string> &words) {
    Program program(words);
    Ran ran;
    ran.status = program.wait();
    ran.lines = program.lines();
    ran.errors = program.errors();
    return ran;
}

} // namespace kyb::macroot
