#pragma once

#include "posix/UniqueFd.h"

#include <optional>
#include <string>
#include <sys/types.h>
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

    const std::vector<std::string> &lines() const { return lines_; } ///< all that was read
    std::string errors() const;                                      ///< standard error; after wait()

private:
    UniqueFd output_;
    UniqueFd errors_;
    pid_t process_ = -1;
    std::string rest_;
    std::vector<std::string> lines_;
};

/// A program that ran to its end.
struct Ran {
    int status = -1;
    std::vector<std::string> lines;
    std::string errors;

    std::string lastLine() const { return lines.empty() ? "" : lines.back(); }
};
Ran runProgram(const std::vector<std::string> &words);

} // namespace kyb::macroot
