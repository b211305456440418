#include "SilentRun.h"

#include <csignal>
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
        addVariable(*variable);
    }
    for (const std::string &variable : root.environment()) {
        addVariable(variable);
    }
    environment["PATH"] = root.pathWithSudo();
    environment["LANG"] = "C.UTF-8";
    environment.erase("DISPLAY");
    environment.erase("WAYLAND_DISPLAY");
}

void SilentRun::addVariable(const std::string &assignment) {
    const std::size_t end = assignment.find('=');
    environment[assignment.substr(0, end)] = assignment.substr(end + 1);
}

void SilentRun::putInstaller(const Words &options) const {
    const std::string contents = installerFolder_ + kContents;
    for (const std::string &program : {kProgramInBundle, kHelperInBundle}) {
        kyb::test::copyProgram(KYB_BUNDLE "/Contents" + program, contents + program);
    }
    for (const char *name : {"Info.plist", "Resources"}) {
        std::filesystem::create_symlink(std::string(KYB_BUNDLE "/Contents/") + name, contents + "/" + name);
    }
    putPackage(options);
}

std::string SilentRun::program() const {
    return installerFolder_ + kContents + kProgramInBundle;
}

void SilentRun::putPackage(const Words &options) const {
    std::filesystem::create_directories(installerFolder_ + "/OSX");
    kyb::test::makePackage(package(), options);
}

std::unique_ptr<SilentRun::Program> SilentRun::start(const Words &arguments) const {
    Words words = startedBy;
    words.push_back(program());
    words.insert(words.end(), arguments.begin(), arguments.end());
    Words assignments;
    for (const auto &[name, value] : environment) {
        assignments.push_back(name + '=' + value);
    }
    return std::make_unique<Program>(words, assignments);
}

void SilentRun::expectToEndWhenAsked(Program &process) {
    process.sendSignal(SIGTERM);
    // NB: the thread sanitizer keeps a signal back that comes while its thread is in the toolkit, which it does not
    // know, and the thread may wait for events the next moment: the next signal ends that.
    while (kHasThreadSanitizer && kyb::test::stateOf(process.id()) != 'Z') {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        process.sendSignal(SIGTERM);
    }
    EXPECT_EQ(process.wait(), -SIGTERM);
}

void SilentRun::expectToGoOn(Program &process) {
    EXPECT_TRUE(process.isQuietFor(300));
    expectToEndWhenAsked(process);
}

bool SilentRun::mayRaiseHardLimits() {
    return kyb::test::runProgram({"/bin/sh", "-c", "ulimit -n 64; ulimit -n 65"}).status == 0;
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
