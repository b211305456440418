#include "folder_walk.h"

#include "install_error.h"
#include "payload_path.h"
#include "posix/file_io.h"

#include <dirent.h>
#include <memory>
#include <vector>

namespace kyb::macroot {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

enum class Missing { Make, Report };

UniqueFd duplicate(int fd) {
    UniqueFd copy(openat(fd, ".", kFolderFlags));
    if (!copy) {
        throwLastError("folder");
    }
    return copy;
}

// One step down. Empty when the name is not there.
UniqueFd stepDown(int folder, const std::string &name, std::string_view path, Missing missing) {
    if (missing == Missing::Make && mkdirat(folder, name.c_str(), 0755) != 0 && errno != EEXIST) {
        throwLastError(shownPath(path));
    }
    UniqueFd next(openat(folder, name.c_str(), kFolderFlags));
    if (!next && (errno == ENOTDIR || errno == ELOOP)) {
        throw InstallError(shownPath(path) + ": a link or a file stands where a folder should be (" + name + ")");
    }
    if (!next && errno != ENOENT) {
        throwLastError(shownPath(path));
    }
    return next;
}

UniqueFd walk(int base, std::string_view path, Missing missing) {
    UniqueFd folder = duplicate(base);
    for (const std::string_view name : pathNames(path)) {
        folder = stepDown(folder.get(), std::string(name), path, missing);
        if (!folder) {
            break;
        }
    }
    return folder;
}

std::vector<std::string> namesIn(int folder) {
    const int listed = duplicate(folder).release();
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(fdopendir(listed), closedir);
    if (!listing) {
        close(listed);
        throwLastError("folder");
    }
    std::vector<std::string> names;
    while (const dirent *entry = readdir(listing.get())) {
        if (const std::string name(entry->d_name); name != "." && name != "..") {
            names.push_back(name);
        }
    }
    return names;
}

/// Whether a file, a link or an empty folder is gone now.
bool removeSimple(int folder, const std::string &name) {
    return unlinkat(folder, name.c_str(), 0) == 0 || errno == ENOENT ||
           unlinkat(folder, name.c_str(), AT_REMOVEDIR) == 0;
}

UniqueFd openToEmpty(int folder, const std::string &name) {
    fchmodat(folder, name.c_str(), 0700, AT_SYMLINK_NOFOLLOW); // a script may have left it closed
    return UniqueFd(openat(folder, name.c_str(), kFolderFlags));
}

void removeEmptied(int folder, const std::string &name) {
    if (unlinkat(folder, name.c_str(), AT_REMOVEDIR) != 0) {
        throwLastError("cannot remove " + name);
    }
}

/// Moves the folder \p name to \p top, under the first free number from \p number on.
void moveUp(int from, const std::string &name, int top, std::size_t &number) {
    fchmodat(from, name.c_str(), 0700, AT_SYMLINK_NOFOLLOW); // its ".." is going to be written
    while (renameat(from, name.c_str(), top, std::to_string(number++).c_str()) != 0) {
        if (errno != EEXIST && errno != ENOTEMPTY && errno != ENOTDIR) {
            throwLastError("cannot remove " + name);
        }
    }
}

/// Removes \p name from \p top; folders in it are moved up and wait there for their turn.
void removeOneLevel(int top, const std::string &name, std::size_t &number) {
    if (removeSimple(top, name)) {
        return;
    }
    if (const UniqueFd below = openToEmpty(top, name); below) {
        for (const std::string &inside : namesIn(below.get())) {
            if (!removeSimple(below.get(), inside)) {
                moveUp(below.get(), inside, top, number);
            }
        }
    }
    removeEmptied(top, name);
}

// NB: not by recursion, and not with a descriptor for each level: a script may leave any depth behind.
void emptyFolder(int folder) {
    for (std::size_t number = 0, before = 1; number != before;) {
        before = number;
        for (const std::string &name : namesIn(folder)) {
            removeOneLevel(folder, name, number);
        }
    }
}

void removeEntry(int folder, const std::string &name) {
    if (removeSimple(folder, name)) {
        return;
    }
    if (const UniqueFd below = openToEmpty(folder, name); below) {
        emptyFolder(below.get());
    }
    removeEmptied(folder, name);
}

UniqueFd openExistingFolderBelow(int base, std::string_view path) {
    UniqueFd folder = openFolderBelow(base, path);
    if (!folder) {
        throwLastError(shownPath(path));
    }
    return folder;
}

/// renameat(), or what takes the same, for two places below folders.
template <typename Call>
void callOnBoth(Call call, int fromBase, std::string_view from, int toBase, std::string_view to) {
    const UniqueFd source = openExistingFolderBelow(fromBase, parentPath(from));
    const UniqueFd target = openExistingFolderBelow(toBase, parentPath(to));
    if (call(source.get(), std::string(leafName(from)).c_str(), target.get(), std::string(leafName(to)).c_str()) != 0) {
        throwLastError(shownPath(to));
    }
}

} // namespace

UniqueFd openFolder(const std::string &path) {
    UniqueFd folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        throwLastError(path);
    }
    return folder;
}

UniqueFd openFolderBelow(int base, std::string_view path) {
    return walk(base, path, Missing::Report);
}

UniqueFd makeFolderBelow(int base, std::string_view path) {
    return walk(base, path, Missing::Make);
}

UniqueFd makePrivateFolderBelow(int base, std::string_view path) {
    UniqueFd folder = makeFolderBelow(base, path);
    if (fchmod(folder.get(), 0700) != 0) {
        throwLastError(shownPath(path));
    }
    return folder;
}

void clearWayBelow(int base, std::string_view path) {
    if (const auto found = lookBelow(base, path); found && !S_ISDIR(found->st_mode)) {
        removeFileBelow(base, path);
    }
    openUpBelow(base, path);
}

void openUpBelow(int base, std::string_view path) {
    const auto found = lookBelow(base, path);
    if (found && S_ISDIR(found->st_mode) && (found->st_mode & S_IRWXU) != S_IRWXU) {
        const UniqueFd folder = openFolderBelow(base, parentPath(path));
        fchmodat(folder.get(), std::string(leafName(path)).c_str(), (found->st_mode & 07777) | S_IRWXU,
                 AT_SYMLINK_NOFOLLOW);
    }
}

std::optional<struct stat> lookBelow(int base, std::string_view path) {
    const UniqueFd folder = openFolderBelow(base, parentPath(path));
    struct stat found = {};
    if (!folder) {
        return std::nullopt;
    }
    if (fstatat(folder.get(), std::string(leafName(path)).c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0) {
        return found;
    }
    if (errno != ENOENT) {
        throwLastError(shownPath(path));
    }
    return std::nullopt;
}

void removeBelow(int base, std::string_view path) {
    if (const UniqueFd folder = openFolderBelow(base, parentPath(path)); folder) {
        removeEntry(folder.get(), std::string(leafName(path)));
    }
}

void removeFileBelow(int base, std::string_view path) {
    const UniqueFd folder = openFolderBelow(base, parentPath(path));
    if (folder && unlinkat(folder.get(), std::string(leafName(path)).c_str(), 0) != 0 && errno != ENOENT) {
        throwLastError(shownPath(path));
    }
}

void removeEmptyFolderBelow(int base, std::string_view path) {
    const UniqueFd folder = openFolderBelow(base, parentPath(path));
    const bool removed = !folder || unlinkat(folder.get(), std::string(leafName(path)).c_str(), AT_REMOVEDIR) == 0;
    if (!removed && errno != ENOENT && errno != ENOTEMPTY) {
        throwLastError(shownPath(path));
    }
}

void moveBelow(int fromBase, std::string_view from, int toBase, std::string_view to) {
    callOnBoth(renameat, fromBase, from, toBase, to);
}

void hardLinkBelow(int fromBase, std::string_view from, int toBase, std::string_view to) {
    const auto link = [](int fromFolder, const char *fromName, int toFolder, const char *toName) {
        return linkat(fromFolder, fromName, toFolder, toName, 0);
    };
    callOnBoth(link, fromBase, from, toBase, to);
}

UniqueFd createFileBelow(int base, std::string_view path, mode_t mode) {
    const UniqueFd folder = makeFolderBelow(base, parentPath(path));
    const std::string name(leafName(path));
    UniqueFd file(openat(folder.get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file || fchmod(file.get(), mode) != 0) {
        throwLastError(shownPath(path));
    }
    return file;
}

void writeFileBelow(int base, std::string_view path, std::string_view text, mode_t mode) {
    const UniqueFd file = createFileBelow(base, path, mode);
    if (!writeAll(file.get(), text)) {
        throwLastError(shownPath(path));
    }
}

std::optional<std::string> readFileBelow(int base, std::string_view path) {
    const UniqueFd folder = openFolderBelow(base, parentPath(path));
    if (!folder) {
        return std::nullopt;
    }
    const UniqueFd file = openRegularFile(std::string(leafName(path)), O_RDONLY | O_NOFOLLOW, 0, folder.get());
    if (!file && errno == ENOENT) {
        return std::nullopt;
    }
    std::optional<std::string> text = file ? readAll(file.get(), kNoLimit) : std::nullopt;
    if (!text) {
        throwLastError(shownPath(path));
    }
    return text;
}

} // namespace kyb::macroot
