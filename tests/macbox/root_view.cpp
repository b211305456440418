// Loaded into each process of a box before its libraries: shows it the system's fixed places below the folder that
// plays
// "/" (KYB_MACBOX), everything else where it is, and stays with each program that it starts, whatever the environment
// that it is given. Of each function that takes a path here is one that puts the other path in its place.

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

extern "C" char **environ;

namespace {

constexpr std::string_view kPlaces[] = {
    "/Applications",           "/Library", "/System",  "/private",     "/usr/sbin/installer",
    "/usr/libexec/PlistBuddy", "/var/db",  "/var/log", "/var/tmp/kyb",
};

bool isPlace(std::string_view path) {
    for (const std::string_view place : kPlaces) {
        if (path.starts_with(place) && (path.size() == place.size() || path[place.size()] == '/')) {
            return true;
        }
    }
    return false;
}

/// A path as the kernel gets it.
class Seen {
public:
    explicit Seen(const char *path) : path_(path) {
        const char *root = std::getenv("KYB_MACBOX");
        if (path != nullptr && root != nullptr && isPlace(path)) {
            std::snprintf(moved_.data(), moved_.size(), "%s%s", root, path);
            path_ = moved_.data();
        }
    }
    operator const char *() const { return path_; }

private:
    const char *path_;
    std::array<char, 8192> moved_;
};

/// The function that this one stands before.
template <typename Function> Function *next(Function *, const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}
#define NEXT(name)                                                                                                     \
    (*[] {                                                                                                             \
        static const auto function = next(&name, #name);                                                               \
        return function;                                                                                               \
    }())

/// Waits before something is done with \p path, as \p variable says: "part of the path=milliseconds". \return whether.
bool delay(const char *path, const char *variable) {
    const char *value = std::getenv(variable);
    const char *end = value == nullptr ? nullptr : std::strchr(value, '=');
    const int milliseconds = end == nullptr ? 0 : std::atoi(end + 1);
    if (milliseconds == 0 || std::string_view(path).find({value, end}) == std::string_view::npos) {
        return false;
    }
    usleep(static_cast<useconds_t>(milliseconds) * 1000);
    return true;
}

/// Notes in the journal that the file was delayed.
void noteDelayedFile() {
    std::array<char, 8192> journal{};
    std::snprintf(journal.data(), journal.size(), "%s.macbox/journal", std::getenv("KYB_MACBOX"));
    if (FILE *file = NEXT(fopen)(journal.data(), "a")) {
        std::fprintf(file, "%s: delayed file\n", program_invocation_short_name);
        std::fclose(file);
    }
}

void delayNewFile(const char *path, int flags) {
    if ((flags & O_CREAT) != 0 && delay(path, "KYB_MACBOX_SLOW_FILE")) {
        noteDelayedFile();
    }
}

/// A file's path when somebody looks whether it is there.
class LookedFor : public Seen {
public:
    explicit LookedFor(const char *path) : Seen(path) { delay(path, "KYB_MACBOX_SLOW_LOOK"); }
};

/// \p environment, and what keeps a program in the box, if it lacks that.
class Environment {
public:
    explicit Environment(char *const *environment) {
        for (; environment != nullptr && *environment != nullptr; ++environment) {
            variables_.push_back(*environment);
        }
        for (const std::string name : {"LD_PRELOAD", "KYB_MACBOX"}) {
            const char *value = std::getenv(name.c_str());
            if (value != nullptr && !has(name + '=')) {
                texts_.push_back(name + '=' + value);
            }
        }
        for (std::string &text : texts_) {
            variables_.push_back(text.data());
        }
        variables_.push_back(nullptr);
    }
    char *const *get() const { return variables_.data(); }

private:
    bool has(const std::string &beginning) const {
        return std::any_of(variables_.begin(), variables_.end(),
                           [&](const char *variable) { return std::string_view(variable).starts_with(beginning); });
    }

    std::vector<std::string> texts_;
    std::vector<char *> variables_;
};

} // namespace

#define MODE_OF(flags)                                                                                                 \
    mode_t mode = 0;                                                                                                   \
    if (((flags) & (O_CREAT | O_TMPFILE)) != 0) {                                                                      \
        va_list rest;                                                                                                  \
        va_start(rest, flags);                                                                                         \
        mode = va_arg(rest, mode_t);                                                                                   \
        va_end(rest);                                                                                                  \
    }

extern "C" {

int open(const char *path, int flags, ...) {
    MODE_OF(flags)
    delayNewFile(path, flags);
    return NEXT(open)(Seen(path), flags, mode);
}
int open64(const char *path, int flags, ...) {
    MODE_OF(flags)
    delayNewFile(path, flags);
    return NEXT(open64)(Seen(path), flags, mode);
}
int openat(int folder, const char *path, int flags, ...) {
    MODE_OF(flags)
    delayNewFile(path, flags);
    return NEXT(openat)(folder, Seen(path), flags, mode);
}
int openat64(int folder, const char *path, int flags, ...) {
    MODE_OF(flags)
    delayNewFile(path, flags);
    return NEXT(openat64)(folder, Seen(path), flags, mode);
}

// Functions of one path, with what stands before it and behind it.
#define VIEW(Result, name, parameters, ...)                                                                            \
    Result name parameters {                                                                                           \
        return NEXT(name)(__VA_ARGS__);                                                                                \
    }

VIEW(FILE *, fopen, (const char *path, const char *mode), Seen(path), mode)
VIEW(FILE *, fopen64, (const char *path, const char *mode), Seen(path), mode)
VIEW(FILE *, freopen, (const char *path, const char *mode, FILE *file), Seen(path), mode, file)
VIEW(DIR *, opendir, (const char *path), Seen(path))
VIEW(int, creat, (const char *path, mode_t mode), Seen(path), mode)
VIEW(int, stat, (const char *path, struct stat *info) noexcept, LookedFor(path), info)
VIEW(int, stat64, (const char *path, struct stat64 *info) noexcept, LookedFor(path), info)
VIEW(int, lstat, (const char *path, struct stat *info) noexcept, Seen(path), info)
VIEW(int, lstat64, (const char *path, struct stat64 *info) noexcept, Seen(path), info)
VIEW(int, fstatat, (int folder, const char *path, struct stat *info, int flags) noexcept, folder, Seen(path), info,
     flags)
VIEW(int, fstatat64, (int folder, const char *path, struct stat64 *info, int flags) noexcept, folder, Seen(path), info,
     flags)
VIEW(int, statx, (int folder, const char *path, int flags, unsigned mask, struct statx *info) noexcept, folder,
     LookedFor(path), flags, mask, info)
VIEW(int, statvfs, (const char *path, struct statvfs *info) noexcept, Seen(path), info)
VIEW(int, statvfs64, (const char *path, struct statvfs64 *info) noexcept, Seen(path), info)
VIEW(int, access, (const char *path, int mode) noexcept, LookedFor(path), mode)
VIEW(int, euidaccess, (const char *path, int mode) noexcept, Seen(path), mode)
VIEW(int, faccessat, (int folder, const char *path, int mode, int flags) noexcept, folder, Seen(path), mode, flags)
VIEW(int, mkdir, (const char *path, mode_t mode) noexcept, Seen(path), mode)
VIEW(int, mkdirat, (int folder, const char *path, mode_t mode) noexcept, folder, Seen(path), mode)
VIEW(int, mkfifo, (const char *path, mode_t mode) noexcept, Seen(path), mode)
VIEW(int, rmdir, (const char *path) noexcept, Seen(path))
VIEW(int, unlink, (const char *path) noexcept, Seen(path))
VIEW(int, unlinkat, (int folder, const char *path, int flags) noexcept, folder, Seen(path), flags)
VIEW(int, remove, (const char *path) noexcept, Seen(path))
VIEW(int, rename, (const char *from, const char *to) noexcept, Seen(from), Seen(to))
VIEW(int, renameat, (int folder, const char *from, int other, const char *to) noexcept, folder, Seen(from), other,
     Seen(to))
VIEW(int, renameat2, (int folder, const char *from, int other, const char *to, unsigned flags) noexcept, folder,
     Seen(from), other, Seen(to), flags)
VIEW(int, link, (const char *from, const char *to) noexcept, Seen(from), Seen(to))
VIEW(int, linkat, (int folder, const char *from, int other, const char *to, int flags) noexcept, folder, Seen(from),
     other, Seen(to), flags)
VIEW(int, symlink, (const char *content, const char *path) noexcept, content, Seen(path))
VIEW(int, symlinkat, (const char *content, int folder, const char *path) noexcept, content, folder, Seen(path))
VIEW(ssize_t, readlink, (const char *path, char *content, size_t size) noexcept, Seen(path), content, size)
VIEW(ssize_t, readlinkat, (int folder, const char *path, char *content, size_t size) noexcept, folder, Seen(path),
     content, size)
VIEW(int, chmod, (const char *path, mode_t mode) noexcept, Seen(path), mode)
VIEW(int, fchmodat, (int folder, const char *path, mode_t mode, int flags) noexcept, folder, Seen(path), mode, flags)
VIEW(int, chown, (const char *path, uid_t owner, gid_t group) noexcept, Seen(path), owner, group)
VIEW(int, lchown, (const char *path, uid_t owner, gid_t group) noexcept, Seen(path), owner, group)
VIEW(int, fchownat, (int folder, const char *path, uid_t owner, gid_t group, int flags) noexcept, folder, Seen(path),
     owner, group, flags)
VIEW(int, utimensat, (int folder, const char *path, const struct timespec *times, int flags) noexcept, folder,
     Seen(path), times, flags)
VIEW(int, truncate, (const char *path, off_t length) noexcept, Seen(path), length)
VIEW(int, truncate64, (const char *path, off64_t length) noexcept, Seen(path), length)
VIEW(int, chdir, (const char *path) noexcept, Seen(path))
VIEW(char *, realpath, (const char *path, char *resolved) noexcept, Seen(path), resolved)
VIEW(int, inotify_add_watch, (int fd, const char *path, uint32_t mask) noexcept, fd, Seen(path), mask)
VIEW(int, execve, (const char *path, char *const *words, char *const *environment) noexcept, Seen(path), words,
     Environment(environment).get())
VIEW(int, posix_spawn,
     (pid_t * process, const char *path, const posix_spawn_file_actions_t *files, const posix_spawnattr_t *attributes,
      char *const *words, char *const *environment),
     process, Seen(path), files, attributes, words, Environment(environment).get())

int execv(const char *path, char *const *words) noexcept {
    return execve(path, words, environ);
}

} // extern "C"
