#pragma once

#include "posix/UniqueFd.h"

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace kyb::macroot {

/// A program that was started by a test, with an empty environment.
class Program {
public:
    explicit Program(const std::vector<std::string> &words);
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;
    ~Program(); ///< kills it, should it still run

    /// The next line of its standard output, without the line end; nothing at its end.
    std::optional<std::string> readLine();
    /// Reads on to a line that begins so; false when there is none.
    bool readUntil(const std::string &beginning);
    void sendSignal(int signal) const;
    /// Reads all the rest and waits for the end. The exit status, or 128 and the number of the signal that ended it.
    int wait();

    [[nodiscard]] const std::vector<std::string> &lines() const { return m_lines; } ///< all that was read
    [[nodiscard]] std::string errors() const;                                       ///< standard error; after wait()

private:
    UniqueFd m_output;
    UniqueFd m_errors;
    pid_t m_process = -1;
    std::string m_rest;
    std::vector<std::string> m_lines;
};

/// A program that ran to its end.
struct Ran {
    int status = -1;
    std::vector<std::string> lines;
    std::string errors;

    [[nodiscard]] std::string lastLine() const { return lines.empty() ? "" : lines.back(); }
};
Ran runProgram(const std::vector<std::string> &words);

} // namespace kyb::macroot
