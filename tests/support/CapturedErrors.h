#pragma once

#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace kyb::test {

/// Standard error goes to the end of a file as long as this lives.
class CapturedErrors {
public:
    explicit CapturedErrors(const std::string &path, int flags = O_APPEND) : saved_(dup(STDERR_FILENO)) {
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | flags, 0600);
        dup2(file, STDERR_FILENO);
        close(file);
    }
    ~CapturedErrors() {
        dup2(saved_, STDERR_FILENO);
        close(saved_);
    }
    CapturedErrors(const CapturedErrors &) = delete;
    CapturedErrors &operator=(const CapturedErrors &) = delete;

private:
    int saved_;
};

} // namespace kyb::test
