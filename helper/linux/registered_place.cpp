#include "linux/registered_place.h"

#include "channel/message_keys.h"

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <utility>

namespace kyb::helper {
namespace {

UniqueFd openFolder(const UniqueFd &folder, const char *name) {
    return UniqueFd(openat(folder.get(), name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

/// Whether \p program is what lies at the registered place below \p root, with no link on the way.
bool isRegisteredBelow(const UniqueFd &root, const std::string &program) {
    const UniqueFd tools = openFolder(openFolder(root, "Library"), "PrivilegedHelperTools");
    struct stat registered {};
    struct stat running {};
    return fstatat(tools.get(), kHelperLabel, &registered, AT_SYMLINK_NOFOLLOW) == 0 &&
           stat(program.c_str(), &running) == 0 && registered.st_dev == running.st_dev &&
           registered.st_ino == running.st_ino;
}

} // namespace

UniqueFd openRootOf(const std::string &program) {
    std::error_code error;
    const std::string file = std::filesystem::read_symlink(program, error);
    const std::string place = std::string("/Library/PrivilegedHelperTools/") + kHelperLabel;
    if (!file.ends_with(place)) {
        return {};
    }
    const std::string path = file.substr(0, file.size() - place.size()) + "/";
    UniqueFd root(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return isRegisteredBelow(root, program) ? std::move(root) : UniqueFd();
}

} // namespace kyb::helper
