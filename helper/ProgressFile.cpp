#include "ProgressFile.h"

#include "posix/file_io.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace kyb::helper {
namespace {

/// As much as a finished file's last lines are at most.
constexpr std::size_t kTailBytes = 2048;

constexpr int kAttempts = 10; // others may put something into the place between the two steps, but not for ever

/// Takes away what lies at \p name, as far as it can: anything but a folder that is not empty.
void clear(const UniqueFd &folder, const char *name) {
    if (unlinkat(folder.get(), name, 0) != 0) {
        unlinkat(folder.get(), name, AT_REMOVEDIR);
    }
}

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
        clear(folder, name.c_str());
        file_ = UniqueFd(
            openat(folder.get(), name.c_str(), O_RDWR | O_APPEND | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
        if (file_ || errno != EEXIST) {
            writtenBytes_ = 0;
            tail_.clear();
            return static_cast<bool>(file_);
        }
    }
    return false;
}

bool ProgressFile::isInPlace() const {
    struct stat mine {};
    struct stat there {};
    return fstat(file_.get(), &mine) == 0 && lstat(path_.c_str(), &there) == 0 && mine.st_dev == there.st_dev &&
           mine.st_ino == there.st_ino && there.st_size == writtenBytes_ && endsWithTail();
}

/// Who may write to the file may have written over its end.
bool ProgressFile::endsWithTail() const {
    std::string end(tail_.size(), '\0');
    const auto bytes = static_cast<ssize_t>(end.size());
    return pread(file_.get(), end.data(), end.size(), writtenBytes_ - bytes) == bytes && end == tail_;
}

bool ProgressFile::append(std::string_view text, std::string_view textOfNewFile) {
    return isInPlace() ? write(text) : isLeftToOthers_ || (make() && write(textOfNewFile));
}

bool ProgressFile::write(std::string_view text) {
    writtenBytes_ += static_cast<off_t>(text.size());
    tail_.append(text.substr(text.size() - std::min(text.size(), kTailBytes)));
    tail_.erase(0, tail_.size() - std::min(tail_.size(), kTailBytes));
    return writeAll(file_.get(), text);
}

} // namespace kyb::helper
