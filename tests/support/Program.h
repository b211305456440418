#pragma once

#include "posix/UniqueFd.h"

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace kyb::test {

/// A program that was started by a test.
class Program {
public:
    /// \param environment assignments, "NAME=value"; the program gets no others.
    explicit Program(std::vector<std::string> words, std::vector<std::string> environment = {});
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;
    ~Program(); ///< kills it, should it still run

    pid_t id() const { return process_; }

    /// The next line of its standard output, without the line end; nothing at its end.
    std::optional<std::string> readLine();
    /// Reads on to a line that begins so; false when there is none.
    bool readUntil(const std::string &beginning);
    /// Nobody reads its standard output any more.
    void closeOutput() { output_.reset(); }
    /// Whether a line can be read without waiting, or the begin of one.
    bool hasUnread() const { return !rest_.empty() || !isQuietFor(0); }
    /// Whether it goes on for \p milliseconds without a word on its standard output.
    bool isQuietFor(int milliseconds) const;
    void sendSignal(int signal) const;
    /// Reads all the rest and waits for the end. The exit status, or less than 0: the number of the signal that ended
    /// it.
    int wait();

    const std::vector<std::string> &lines() const { return lines_; } ///< all that was read
    std::string errors() const;                                      ///< what it has written to standard error so far

private:
    UniqueFd output_;
    UniqueFd errors_;
    pid_t process_ = -1;
    std::string rest_;
    std::vector<std::string> lines_;
};

/// A program that ran to its end.
struct Ran {
    int status = -1; ///< as `Program::wait` gives it
    std::vector<std::string> lines;
    std::string errors;

    std::string lastLine() const { return lines.empty() ? "" : lines.back(); }
};
Ran finish(Program &program);
Ran runProgram(std::vector<std::string> words);

/// The state of a process or thread: 'R' runs, 'S' sleeps, 'Z' has ended; 'X' when there is none.
char stateOf(pid_t process);

} // namespace kyb::test
