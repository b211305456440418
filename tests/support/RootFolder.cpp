#include "support/RootFolder.h"

#include "channel/message_keys.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <unistd.h>

namespace kyb::test {
namespace fs = std::filesystem;

namespace {

/// The processes that run a program whose path begins so.
std::vector<pid_t> processesOf(const std::string &programsBeginning) {
    std::vector<pid_t> found;
    std::error_code error;
    for (const auto &entry : fs::directory_iterator("/proc")) {
        const pid_t process = std::atoi(entry.path().filename().c_str());
        if (process > 0 && fs::read_symlink(entry.path() / "exe", error).string().starts_with(programsBeginning)) {
            found.push_back(process);
        }
    }
    return found;
}

/// Returns when they have ended: only then they have closed their sockets.
void killAll(const std::vector<pid_t> &processes) {
    for (const pid_t process : processes) {
        kill(process, SIGKILL);
        while (stateOf(process) != 'Z' && stateOf(process) != 'X') {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
}

void runTool(std::vector<std::string> words) {
    words.front() = tool(words.front());
    words.insert(words.begin() + 1, {"--programs", KYB_PROGRAMS});
    if (const Ran ran = runProgram(words); ran.status != 0) {
        throw std::runtime_error(ran.errors);
    }
}

} // namespace

TempFolder::TempFolder() {
    std::string pattern = fs::temp_directory_path() / "kyb-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no folder for temporary files");
    }
    path_ = fs::canonical(pattern);
    fs::permissions(path_, fs::perms(0755));
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

RootFolder::~RootFolder() {
    killHelpers();
    killAll(processes()); // their commands
    system_.reset();
    killAll(processesOf(path() + '/'));
}

void RootFolder::clear() const {
    system_.reset();
    killAll(processesOf(path() + '/'));
    fs::remove_all(root_);
    for (const char *folder : {"/var/run", "/var/log", "/var/tmp/kyb"}) {
        fs::create_directories(at(folder));
    }
    system_ = startSystem(path());
}

void RootFolder::makeMacRoot() const {
    fs::remove_all(root_);
    runTool({"make-macroot", path()});
    system_->furnish();
}

std::vector<pid_t> RootFolder::processes(std::string_view text) const {
    const std::vector<pid_t> others = helpers();
    std::vector<pid_t> found;
    for (const auto &entry : fs::directory_iterator("/proc")) {
        const pid_t process = std::atoi(entry.path().filename().c_str());
        if (process > 0 && process != getpid() && std::find(others.begin(), others.end(), process) == others.end() &&
            system_->concerns(process) && contentOf(entry.path() / "cmdline").find(text) != std::string::npos) {
            found.push_back(process);
        }
    }
    return found;
}

std::string RootFolder::read(std::string_view fixedPath) const {
    return contentOf(at(fixedPath));
}

void RootFolder::write(std::string_view fixedPath, std::string_view content) const {
    fs::create_directories(fs::path(at(fixedPath)).parent_path());
    writeText(at(fixedPath), content);
}

void RootFolder::putProgram(std::string_view fixedPath, std::string_view script) const {
    remove(fixedPath);
    write(fixedPath, script);
    fs::permissions(at(fixedPath), fs::perms(0755));
}

std::string RootFolder::pathWithSudo() const {
    const fs::path sudo = beside("bin/sudo");
    fs::create_directories(sudo.parent_path());
    writeText(sudo, "#!/bin/sh\nexec \"$@\"\n");
    fs::permissions(sudo, fs::perms(0755));
    return sudo.parent_path().string() + ':' + std::getenv("PATH");
}

std::string RootFolder::progressFile() const {
    return at(kProgressMessageFile);
}

std::string RootFolder::helperFile() const {
    return at("/Library/PrivilegedHelperTools/") + kHelperLabel;
}

void RootFolder::registerHelper(const std::string &program) const {
    copyProgram(program, helperFile());
    system_->noteHelper(program);
}

std::vector<pid_t> RootFolder::helpers() const {
    return processesOf(helperFile());
}

void RootFolder::killHelpers() const {
    killAll(helpers());
}

std::vector<std::string> RootFolder::logEntries() const {
    constexpr std::size_t kShortestStamp = 6;
    constexpr std::string_view kStampEnd = " : ";
    std::istringstream log(read("/var/tmp/kyb/BrelundQuorlix.log"));
    std::vector<std::string> entries;
    for (std::string line; std::getline(log, line);) {
        const std::size_t end = line.find(kStampEnd, kShortestStamp);
        entries.push_back(end == std::string::npos ? line : line.substr(end + kStampEnd.size()));
    }
    return entries;
}

std::string RootFolder::installedVersion() const {
    return textUnder("PackageVersion", "/var/db/receipts/com.Brelund.QuorlixInstaller.plist");
}

std::string RootFolder::preference() const {
    return textUnder("IsPrivateInstall", "/Library/Preferences/BrelundQuorlixAdmin.plist");
}

std::string RootFolder::textUnder(std::string_view key, std::string_view propertyList) const {
    const std::string text = read(propertyList);
    const std::regex entry("<key>" + std::string(key) + "</key>\\s*<string>([^<]*)</string>");
    std::smatch match;
    return std::regex_search(text, match, entry) ? match.str(1) : "";
}

std::string builtProgram(const std::string &name) {
    return KYB_PROGRAMS "/" + name;
}

std::string tool(const std::string &name) {
    return KYB_TOOLS "/" + name;
}

void makePackage(const fs::path &file, const std::vector<std::string> &options) {
    std::vector<std::string> words{"make-package", file};
    words.insert(words.end(), options.begin(), options.end());
    runTool(words);
}

void makeFleetPackage(const fs::path &file, const fs::path &bundle, const fs::path &driver,
                      const std::vector<std::string> &options) {
    std::vector<std::string> words{"make-fleet-package", file, "--bundle", bundle, "--driver", driver};
    words.insert(words.end(), options.begin(), options.end());
    runTool(words);
}

std::string contentOf(const fs::path &path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

void writeText(const fs::path &path, std::string_view content) {
    if (!(std::ofstream(path, std::ios::binary) << content)) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

void copyProgram(const fs::path &from, const fs::path &to) {
    fs::create_directories(to.parent_path());
    fs::remove(to);
    fs::copy_file(from, to);
    fs::permissions(to, fs::perms(0755));
}

} // namespace kyb::test
