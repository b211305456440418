#include "mac_root.h"

#include "stage.h"

#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>

namespace kyb::macroot {

namespace fs = std::filesystem;

std::string builtProgram(const std::string &name) {
    return (fs::path(KYB_PROGRAMS_FOLDER) / name).string();
}

std::string tool(const std::string &name) {
    return (fs::path(KYB_TOOLS_FOLDER) / name).string();
}

TempFolder::TempFolder() {
    std::string name = (fs::temp_directory_path() / "kyb-macroot-test.XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    path_ = name;
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string textOf(const fs::path &file) {
    std::error_code missing;
    const auto size = fs::file_size(file, missing);
    std::string text(missing ? 0 : size, '\0');
    std::ifstream(file, std::ios::binary).read(text.data(), static_cast<std::streamsize>(text.size()));
    return text;
}

void writeText(const fs::path &file, std::string_view text) {
    std::ofstream stream(file, std::ios::binary);
    stream << text;
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
            const std::string content = textOf(entry.path());
            text << std::dec << content.size() << " bytes, " << std::hex << std::hash<std::string>()(content);
        }
        snapshot[entry.path().lexically_relative(folder).string()] = text.str();
    }
    return snapshot;
}

MacRoot::MacRoot() {
    const Ran made = runProgram({tool("make-macroot"), (folder_ / "root").string(), "--programs", KYB_PROGRAMS_FOLDER});
    if (made.status != 0) {
        throw std::runtime_error(made.errors);
    }
}

std::string MacRoot::samplePackage(const std::vector<std::string> &options) const {
    const std::string package = beside("Brelund Quorlix Driver.pkg").string();
    std::vector<std::string> words{tool("make-package"), package, "--programs", KYB_PROGRAMS_FOLDER};
    words.insert(words.end(), options.begin(), options.end());
    const Ran made = runProgram(words);
    return made.status == 0 ? package : throw std::runtime_error(made.errors);
}

std::vector<std::string> MacRoot::installCommand(const std::string &package) const {
    return {(*this / "usr/sbin/installer").string(), "-pkg", package, "-target", "/", "-verboseR"};
}

Ran MacRoot::install(const std::string &package) const {
    return runProgram(installCommand(package));
}

bool MacRoot::hasStage() const {
    return fs::exists(*this / Stage::kFolder);
}

std::string MacRoot::log() const {
    return textOf(*this / "var/log/install.log");
}

Snapshot MacRoot::snapshot() const {
    Snapshot all = snapshotOf(folder_ / "root");
    all.erase("var/log/install.log");
    all.erase("var/run/installer.lock");
    return all;
}

} // namespace kyb::macroot
