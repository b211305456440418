#include "ProgressFile.h"

#include "posix/file_io.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace kyb::helper {
namespace {

constexpr int kAttempts = 10; // others may put something into the place between the two steps, but not for ever

} // namespace

std::optional<ProgressFile> ProgressFile::create(const std::string &path) {
    ProgressFile file(path);
    if (!file.make()) {
        return {};
    }
    return file;
}

bool ProgressFile::make() {
    const std::size_t slash = path_.rfind('/');
    const std::string name = path_.substr(slash + 1);
    // NB: only the folder itself must not be a link; "/var", above it, is one on macOS.
    const UniqueFd folder(open(path_.substr(0, slash).c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    for (int attempt = 0; folder && attempt < kAttempts; ++attempt) {
        if (unlinkat(folder.get(), name.c_str(), 0) != 0 && errno != ENOENT) {
            return false;
        }
        file_ = UniqueFd(
            openat(folder.get(), name.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
        if (file_ || errno != EEXIST) {
            return static_cast<bool>(file_);
        }
    }
    return false;
}

bool ProgressFile::isInPlace() const {
    struct stat mine {};
    struct stat there {};
    return fstat(file_.get(), &mine) == 0 && lstat(path_.c_str(), &there) == 0 && mine.st_dev == there.st_dev &&
           mine.st_ino == there.st_ino;
}

bool ProgressFile::append(std::string_view text) {
    return (isInPlace() || make()) && writeAll(file_.get(), text);
}

} // namespace kyb::helper
