#pragma once

#include "posix/UniqueFd.h"

#include <ctime>
#include <string>
#include <string_view>

namespace kyb::macroot {

/// One line of the log: date, host, process and message; control characters of the message become blanks, and what is
/// no UTF-8 U+FFFD, so that everybody can read the log as UTF-8.
std::string installLogLine(std::time_t when, std::string_view host, int process, std::string_view message);

/// The system's installer log, below the root. Lines are appended, each in one write.
class InstallLog {
public:
    /// Opens the log, or makes it. Throws InstallError; a link or anything but a file at its place is refused.
    explicit InstallLog(int root);

    /// A line that cannot be written is lost; an installation does not fail for it.
    void write(std::string_view message) const;

private:
    UniqueFd file_;
    std::string host_;
};

} // namespace kyb::macroot
