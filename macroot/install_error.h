#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace kyb::macroot {

/// Why an installation cannot go on; what() is the text that stands in brackets behind "The install failed."
class InstallError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// An InstallError that ends with the text of the last failed system call.
[[noreturn]] inline void throwLastError(const std::string &what) {
    throw InstallError(what + ": " + std::generic_category().message(errno));
}

} // namespace kyb::macroot
