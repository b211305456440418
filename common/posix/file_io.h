#pragma once

#include "posix/UniqueFd.h"

#include <chrono>
#include <fcntl.h>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

// Pipes and files. Any thread. A failure leaves its reason in errno. Descriptors made here close themselves where a
// program is started.

namespace kyb {

/// Opens "/dev/null" for each of the descriptors 0, 1 and 2 that is closed, so that nothing else gets its number. First
/// in a program.
void fillStandardDescriptors();

struct Pipe {
    UniqueFd reading;
    UniqueFd writing;
};

/// A pipe; both ends are empty when the system refuses.
Pipe makePipe();

/// Lets reads and writes fail with EAGAIN rather than wait. Does nothing for an empty descriptor.
void makeNonBlocking(const UniqueFd &fd);

/// Opens the regular file \p path, as openat(\p folder) does with \p flags and, whatever the umask, the mode of a new
/// file: nothing else (a FIFO, a device, a folder), without waiting for anybody, and with O_NOFOLLOW not through a
/// link, be it symbolic or a further name of a file. \return empty when there is no such file or it cannot be opened;
/// EINVAL: it is not a regular one.
UniqueFd openRegularFile(const std::string &path, int flags, mode_t newFileMode = 0, int folder = AT_FDCWD);

inline constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

/// What \p fd still gives. \return nothing when that is more than \p maxBytes or cannot be read.
std::optional<std::string> readAll(int fd, std::size_t maxBytes);

/// Waits until a write to \p fd needs not wait, and at longest for \p timeout.
/// \return whether it does not: there is room, or nobody who could make some.
bool waitForRoom(int fd, std::chrono::milliseconds timeout);

/// Waits until a read of \p fd needs not wait, and at longest for \p timeout.
/// \return whether it does not: there is something to read, or the end.
bool waitForInput(int fd, std::chrono::milliseconds timeout);

/// Writes all of \p bytes. Where a reader is gone SIGPIPE comes, unless it is ignored.
/// \return whether that was done; a part may have been written otherwise.
bool writeAll(int fd, std::string_view bytes);

struct FileAttributes {
    mode_t mode;                          ///< whatever the umask
    uid_t owner = static_cast<uid_t>(-1); ///< -1: as the system makes a new file
    gid_t group = static_cast<gid_t>(-1);
};

/// Puts a file of \p content at \p path, a link there not followed, in one step: who opens it meets the old file or the
/// new one, whole. \return whether that was done; the old file is as it was otherwise.
bool replaceFile(const std::string &path, std::string_view content, const FileAttributes &attributes);

} // namespace kyb
