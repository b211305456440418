#include "mac_root.h"

#include "stage.h"

#include <functional>
#include <poll.h>
#include <sstream>
#include <sys/stat.h>

namespace kyb::macroot {

namespace fs = std::filesystem;

void waitForEndOf(pid_t process) {
    while (test::stateOf(process) != 'Z' && test::stateOf(process) != 'X') {
        poll(nullptr, 0, 1);
    }
}

unsigned modeOf(const fs::path &path) {
    struct stat found = {};
    return lstat(path.c_str(), &found) == 0 ? found.st_mode & 07777U : 0;
}

Snapshot snapshotOf(const fs::path &folder) {
    Snapshot snapshot;
    for (const auto &entry : fs::recursive_directory_iterator(folder)) {
        std::ostringstream text;
        text << std::oct << modeOf(entry.path()) << ' ';
        if (entry.is_symlink()) {
            text << "-> " << fs::read_symlink(entry.path()).string();
        } else if (entry.is_directory()) {
            text << "folder";
        } else {
            const std::string content = contentOf(entry.path());
            text << std::dec << content.size() << " bytes, " << std::hex << std::hash<std::string>()(content);
        }
        snapshot[entry.path().lexically_relative(folder).string()] = text.str();
    }
    return snapshot;
}

std::string MacRoot::samplePackage(const std::vector<std::string> &options) const {
    const std::string package = beside("Brelund Quorlix Driver.pkg");
    test::makePackage(package, options);
    return package;
}

std::vector<std::string> MacRoot::installCommand(const std::string &package) const {
    return {(*this / "usr/sbin/installer").string(), "-pkg", package, "-target", "/", "-verboseR"};
}

Ran MacRoot::install(const std::string &package) const {
    return runProgram(installCommand(package));
}

bool MacRoot::hasStage() const {
    return fs::exists(*this / Stage::kFolder) || fs::exists(*this / Stage::kTrash);
}

Snapshot MacRoot::snapshot() const {
    Snapshot all = snapshotOf(path());
    all.erase("var/log/install.log");
    all.erase("var/run/installer.lock");
    return all;
}

} // namespace kyb::macroot
