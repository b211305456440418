#include "posix/file_io.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <sys/stat.h>

namespace kyb {

void fillStandardDescriptors() {
    int file = 0;
    do {
        file = open("/dev/null", O_RDWR);
    } while (file >= 0 && file <= STDERR_FILENO);
    close(file);
}

Pipe makePipe() {
    std::array<int, 2> ends{-1, -1};
    if (pipe(ends.data()) != 0) {
        return {};
    }
    for (const int end : ends) {
        fcntl(end, F_SETFD, FD_CLOEXEC); // NB: not pipe2(), which macOS lacks
    }
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

void makeNonBlocking(const UniqueFd &fd) {
    fcntl(fd.get(), F_SETFL, fcntl(fd.get(), F_GETFL) | O_NONBLOCK);
}

namespace {

/// As openat(), but that a file is made with \p newFileMode whatever the umask. What was there keeps its mode.
UniqueFd openOrMake(const std::string &path, int flags, mode_t newFileMode, int folder) {
    UniqueFd file(openat(folder, path.c_str(), flags & ~O_CREAT));
    if (file || errno != ENOENT || (flags & O_CREAT) == 0) {
        return file;
    }
    file = UniqueFd(openat(folder, path.c_str(), flags | O_EXCL, newFileMode));
    if (file) {
        fchmod(file.get(), newFileMode);
    } else if (errno == EEXIST) { // somebody was faster
        file = UniqueFd(openat(folder, path.c_str(), flags & ~O_CREAT));
    }
    return file;
}

/// Whatever signals come.
bool waitFor(short events, int fd, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    pollfd wanted{fd, events, 0};
    int ready = 0;
    do {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        ready = poll(&wanted, 1, std::max(0, static_cast<int>(left.count())));
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

} // namespace

UniqueFd openRegularFile(const std::string &path, int flags, mode_t newFileMode, int folder) {
    // NB: O_NONBLOCK, so that a FIFO at the path does not hold the caller.
    UniqueFd file = openOrMake(path, flags | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, newFileMode, folder);
    struct stat info {};
    const bool isRegular = file && fstat(file.get(), &info) == 0 && S_ISREG(info.st_mode);
    if (file && (!isRegular || ((flags & O_NOFOLLOW) != 0 && info.st_nlink > 1))) {
        file.reset();
        errno = EINVAL;
    }
    return file;
}

std::optional<std::string> readAll(int fd, std::size_t maxBytes) {
    std::string content;
    std::string chunk(std::size_t{1} << 16, '\0');
    for (;;) {
        const ssize_t count = read(fd, chunk.data(), chunk.size());
        if (count == 0) {
            return content;
        }
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return {};
        }
        if (static_cast<std::size_t>(count) > maxBytes - content.size()) {
            errno = EFBIG;
            return {};
        }
        content.append(chunk, 0, static_cast<std::size_t>(count));
    }
}

bool waitForRoom(int fd, std::chrono::milliseconds timeout) {
    return waitFor(POLLOUT, fd, timeout);
}

bool waitForInput(int fd, std::chrono::milliseconds timeout) {
    return waitFor(POLLIN, fd, timeout);
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool replaceFile(const std::string &path, std::string_view content, const FileAttributes &attributes) {
    std::string temporary = path + ".XXXXXX";
    UniqueFd file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) {
        return false;
    }
    // NB: the owner before the mode; a change of owner takes set-id bits away. Closed before it has its name, for a
    // program that somebody has open for writing cannot be started.
    const bool isComplete = writeAll(file.get(), content) &&
                            fchown(file.get(), attributes.owner, attributes.group) == 0 &&
                            fchmod(file.get(), attributes.mode) == 0 && close(file.release()) == 0;
    if (isComplete && std::rename(temporary.c_str(), path.c_str()) == 0) {
        return true;
    }
    const int error = errno;
    unlink(temporary.c_str());
    errno = error;
    return false;
}

} // namespace kyb
