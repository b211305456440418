#pragma once

#include <unistd.h>
#include <utility>

namespace kyb {

/// A file descriptor that is closed when its owner goes; -1 when it holds none.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd &operator=(UniqueFd &&other) noexcept {
        std::swap(fd_, other.fd_);
        other.reset();
        return *this;
    }
    ~UniqueFd() { reset(); }

    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }
    explicit operator bool() const { return fd_ >= 0; }

    void reset() {
        if (fd_ >= 0) {
            close(std::exchange(fd_, -1));
        }
    }

private:
    int fd_ = -1;
};

} // namespace kyb
