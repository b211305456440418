#include "program.h"

#include "package_writer.h"
#include "posix/file_io.h"
#include "posix/spawn.h"

#include <array>
#include <csignal>
#include <stdexcept>
#include <sys/wait.h>

namespace kyb::macroot {

Program::Program(const std::vector<std::string> &words) : errors_(unnamedFile()) {
    Pipe output = makePipe();
    const std::optional<pid_t> process = spawn({.arguments = words,
                                                .environment = std::vector<std::string>(),
                                                .descriptors = {kDevNull, output.writing.get(), errors_.get()}});
    if (!process) {
        throw std::runtime_error("cannot start " + words.at(0));
    }
    process_ = *process;
    output_ = std::move(output.reading);
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

void Program::sendSignal(int signal) const {
    kill(process_, signal);
}

int Program::wait() {
    while (readLine()) {
    }
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
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

Ran runProgram(const std::vector<std::string> &words) {
    Program program(words);
    Ran ran;
    ran.status = program.wait();
    ran.lines = program.lines();
    ran.errors = program.errors();
    return ran;
}

} // namespace kyb::macroot
