#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace kyb::test {

/// What of the system runs beside a folder that plays "/", and how the programs of a test find that folder.
class System {
public:
    virtual ~System() = default;

    /// What has to be in a program's environment, "NAME=value".
    virtual std::vector<std::string> environment() const = 0;

    /// The name that the programs know a fixed path by.
    virtual std::string seen(std::string_view fixedPath) const = 0;

    /// Whether a process is one of this folder's programs, or was started by one.
    virtual bool concerns(pid_t process) const = 0;

    /// Puts the system's programs into a folder that was made anew, beside the stand-ins.
    virtual void furnish() const = 0;

    /// A helper was put at its place by hand: the system learns of it.
    virtual void noteHelper(const std::string &program) const = 0;
};

/// Starts it; it ends with the object.
std::unique_ptr<System> startSystem(const std::string &root);

} // namespace kyb::test
