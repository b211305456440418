#include "SilentRun.h"

#include <thread>
#include <unistd.h>

namespace {

const std::string kContents = "/Brelund Quorlix Installer.app/Contents";
const std::string kProgramInBundle = "/MacOS/BrelundQuorlixInstaller";
const std::string kHelperInBundle = "/Library/LaunchServices/com.kyb.InstallerHelperTool";

} // namespace

SilentRun::SilentRun() {
    root.makeMacRoot();
    for (char **variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        environment[text.substr(0, text.find('='))] = text.substr(text.find('=') + 1);
    }
    environment["PATH"] = root.pathWithSudo();
    environment["KYB_SYSTEM_ROOT"] = root.path();
    environment["LANG"] = "C.UTF-8";
    environment.erase("DISPLAY");
    environment.erase("WAYLAND_DISPLAY");
}

void SilentRun::putInstaller(const Words &options) const {
    const std::string contents = installerFolder_ + kContents;
    for (const std::string &program : {kProgramInBundle, kHelperInBundle}) {
        kyb::test::copyProgram(KYB_BUNDLE "/Contents" + program, contents + program);
    }
    std::filesystem::create_directory_symlink(KYB_BUNDLE "/Contents/Resources", contents + "/Resources");
    putPackage(options);
}

void SilentRun::putPackage(const Words &options) const {
    std::filesystem::create_directories(installerFolder_ + "/OSX");
    kyb::test::makePackage(package(), options);
}

std::unique_ptr<SilentRun::Program> SilentRun::start(const Words &arguments) const {
    Words words = startedBy;
    words.push_back(installerFolder_ + kContents + kProgramInBundle);
    words.insert(words.end(), arguments.begin(), arguments.end());
    Words assignments;
    for (const auto &[name, value] : environment) {
        assignments.push_back(name + '=' + value);
    }
    return std::make_unique<Program>(words, assignments);
}

void SilentRun::waitUntil(const std::function<bool()> &condition) {
    while (!condition()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

bool SilentRun::hasLogged(const std::string &entry) const {
    const Words entries = root.logEntries();
    return std::find(entries.begin(), entries.end(), entry) != entries.end();
}
