#pragma once

#include <unistd.h>

#include <utility>

namespace kyb::macroot {

/// A file descriptor that is closed when its owner goes; -1 when it holds none.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : m_fd(fd) {}
    UniqueFd(UniqueFd &&other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    UniqueFd &operator=(UniqueFd &&other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~UniqueFd() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }

    [[nodiscard]] int get() const { return m_fd; }
    [[nodiscard]] int release() { return std::exchange(m_fd, -1); }
    explicit operator bool() const { return m_fd >= 0; }

private:
    int m_fd = -1;
};

} // namespace kyb::macroot
