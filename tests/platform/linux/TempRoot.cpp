#include "TempRoot.h"

#include "channel/message_keys.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <vector>

namespace kyb::test {
namespace fs = std::filesystem;

namespace {

std::vector<pid_t> processesBelow(const std::string &folder) {
    std::vector<pid_t> found;
    std::error_code error;
    for (const auto &entry : fs::directory_iterator("/proc")) {
        const pid_t process = std::atoi(entry.path().filename().c_str());
        if (process > 0 && fs::read_symlink(entry.path() / "exe", error).string().starts_with(folder + "/")) {
            found.push_back(process);
        }
    }
    return found;
}

/// Whether \p process is gone or a zombie: only then it has closed its sockets.
bool isOver(pid_t process) {
    std::string number;
    std::string name;
    char state = 'X';
    std::ifstream("/proc/" + std::to_string(process) + "/stat") >> number >> name >> state;
    return state == 'Z' || state == 'X';
}

} // namespace

TempRoot::TempRoot(const std::string &padding) {
    std::string pattern = fs::temp_directory_path() / "kyb-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no folder for temporary files");
    }
    top_ = fs::canonical(pattern);
    path_ = padding.empty() ? top_ : top_ + "/" + padding;
    clear();
}

TempRoot::~TempRoot() {
    killHelpers();
    std::error_code ignored;
    fs::remove_all(top_, ignored);
}

std::string TempRoot::progressFile() const {
    return at(kProgressMessageFile);
}

std::string TempRoot::helperFile() const {
    return at("/Library/PrivilegedHelperTools/") + kHelperLabel;
}

void TempRoot::registerHelper(const std::string &program) const {
    fs::create_directories(at("/Library/PrivilegedHelperTools"));
    fs::copy_file(program, helperFile(), fs::copy_options::overwrite_existing);
}

int TempRoot::runningHelpers() const {
    return static_cast<int>(processesBelow(path_).size());
}

void TempRoot::killHelpers() const {
    for (const pid_t process : processesBelow(path_)) {
        kill(process, SIGKILL);
        while (!isOver(process)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
}

void TempRoot::clear() const {
    killHelpers();
    fs::create_directories(path_);
    for (const auto &entry : fs::directory_iterator(path_)) {
        fs::remove_all(entry.path());
    }
    for (const char *folder : {"/var/run", "/var/log", "/var/tmp/kyb"}) {
        fs::create_directories(at(folder));
    }
}

std::string contentOf(const std::string &path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

} // namespace kyb::test
