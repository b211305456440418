#include "file_replace.h"

#include "posix/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace kyb::macroot {

namespace {

[[noreturn]] void fail(const std::string &path) {
    throw std::system_error(errno, std::generic_category(), path);
}

/// A new file beside its later place; removed unless it was moved there.
class NewFile {
public:
    explicit NewFile(const std::string &path)
        : m_path(path), m_temporary(path + ".XXXXXX"), m_file(::mkostemp(m_temporary.data(), O_CLOEXEC)) {
        if (!m_file) {
            fail(path);
        }
    }
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;
    ~NewFile() {
        if (!m_moved) {
            ::unlink(m_temporary.c_str());
        }
    }

    void write(std::string_view text) const {
        while (!text.empty()) {
            const ssize_t written = ::write(m_file.get(), text.data(), text.size());
            if (written < 0) {
                fail(m_path);
            }
            text.remove_prefix(static_cast<std::size_t>(written));
        }
    }
    void takeOver(uid_t owner, gid_t group, mode_t mode) const {
        if (::fchown(m_file.get(), owner, group) != 0 || ::fchmod(m_file.get(), mode) != 0) {
            fail(m_path);
        }
    }
    void moveToPlace() {
        if (::rename(m_temporary.c_str(), m_path.c_str()) != 0) {
            fail(m_path);
        }
        m_moved = true;
    }

private:
    std::string m_path;
    std::string m_temporary;
    UniqueFd m_file;
    bool m_moved = false;
};

mode_t newFileMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

} // namespace

void replaceFile(const std::string &path, std::string_view text) {
    const std::string place = std::filesystem::weakly_canonical(path).string();
    struct stat earlier = {};
    const bool exists = ::stat(place.c_str(), &earlier) == 0;
    NewFile file(place);
    file.write(text);
    file.takeOver(exists ? earlier.st_uid : ::geteuid(), exists ? earlier.st_gid : ::getegid(),
                  exists ? earlier.st_mode & 07777 : newFileMode());
    file.moveToPlace();
}

} // namespace kyb::macroot
