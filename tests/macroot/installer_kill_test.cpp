#include "mac_root.h"
#include "package_writer.h"
#include "test_package.h"

#include <csignal>
#include <gmock/gmock.h>
#include <poll.h>

namespace kyb::macroot {
namespace {

namespace fs = std::filesystem;

constexpr const char *kInterrupted = "installer: The install failed. (The installation was interrupted.)";

// Large enough that the first percent is far from the end.
const std::vector<std::string> kLargePackage{"--version", "1", "--size", "60000000"};

TestPackage packageWithPostinstall(const std::string &script) {
    TestPackage package;
    package.version = "2.0";
    package.postinstall = "#!/bin/sh\n" + script;
    package.payload = [](PayloadWriter &payload) {
        payload.addFile("./Library/Some/file", "second");
        payload.addFile("./Library/Other/file", "second");
    };
    return package;
}

} // namespace

TEST(InstallerKill, WhileWritingLeavesNothingInPlace) {
    const MacRoot root;
    Program program(root.installCommand(root.samplePackage(kLargePackage)));
    ASSERT_TRUE(program.readUntil("installer:%"));
    program.sendSignal(SIGKILL);
    EXPECT_EQ(program.wait(), -SIGKILL);
    EXPECT_TRUE(root.hasStage());
    EXPECT_TRUE(fs::is_empty(root / "Library/Printers"));
    EXPECT_TRUE(fs::is_empty(root / "Library/Preferences"));
    EXPECT_TRUE(fs::is_empty(root / "var/db/receipts"));

    EXPECT_EQ(root.install(root.samplePackage({"--version", "2"})).lastLine(),
              "installer: The install was successful.");
    EXPECT_FALSE(root.hasStage());
}

TEST(InstallerKill, AfterMovingIsTakenBackByTheNextRun) {
    const MacRoot root;
    TestPackage first;
    first.payload = [](PayloadWriter &payload) { payload.addFile("./Library/Some/file", "first"); };
    ASSERT_EQ(root.install(first.write(root.beside("first.pkg"))).status, 0);
    const Snapshot before = root.snapshot();
    const Ran killed = root.install(packageWithPostinstall("kill -9 $PPID\n").write(root.beside("second.pkg")));
    EXPECT_EQ(killed.status, -SIGKILL);
    EXPECT_EQ(contentOf(root / "Library/Some/file"), "second");

    EXPECT_EQ(root.install(root.samplePackage({"--version", "1", "--fail", "preinstall"})).status, 1);
    EXPECT_EQ(root.snapshot(), before);
}

TEST(InstallerKill, LeavesNothingInTheNextRunsWayThatSomebodyStillWritesInto) {
    const MacRoot root;
    const std::string script = "mkdir \"$TMPDIR/a\"\ncd \"$TMPDIR/a\"\n" + std::string(kManyFiles) +
                               "(i=0; while [ ! -e \"$3/stop\" ]; do : >$i; i=$((i+1)); done) >/dev/null 2>&1 &\n"
                               "echo $! >\"$3/pid\"\nkill -9 $PPID\n";
    EXPECT_EQ(root.install(packageWithPostinstall(script).write(root.beside("a.pkg"))).status, -SIGKILL);
    EXPECT_EQ(root.install(root.samplePackage({"--version", "1"})).lastLine(),
              "installer: The install was successful.");
    writeText(root / "stop", "");
    waitForEndOf(std::stoi(contentOf(root / "pid")));
}

TEST(InstallerKill, EndsTheScriptAndTakesAllBackWhenAskedToEnd) {
    for (const char *const signal : {"TERM", "INT", "HUP"}) {
        const MacRoot root;
        const Snapshot before = root.snapshot();
        // The script asks the installer to end, and would then wait for ever.
        const std::string script = std::string("kill -") + signal + " $PPID\nmkfifo \"$INSTALLER_TEMP/never\"\n" +
                                   "read -r line <\"$INSTALLER_TEMP/never\"\n";
        const Ran ran = root.install(packageWithPostinstall(script).write(root.beside("a.pkg")));
        EXPECT_EQ(ran.status, 1) << signal;
        EXPECT_EQ(ran.lastLine(), kInterrupted) << signal;
        EXPECT_EQ(root.snapshot(), before) << signal;
    }
}

TEST(InstallerKill, EndsAScriptThatDoesNotWantTo) {
    const MacRoot root;
    const std::string script = "trap '' TERM\necho $$ >\"$3/pid\"\nkill -TERM $PPID\nmkfifo \"$INSTALLER_TEMP/never\"\n"
                               "read -r line <\"$INSTALLER_TEMP/never\"\n";
    EXPECT_EQ(root.install(packageWithPostinstall(script).write(root.beside("a.pkg"))).lastLine(), kInterrupted);
    const pid_t process = std::stoi(contentOf(root / "pid"));
    EXPECT_EQ(kill(process, SIGKILL), -1) << "the script was left running";
}

TEST(InstallerKill, EndsWhatAScriptHasStartedAsWell) {
    const MacRoot root;
    const std::string script = "(trap '' TERM; while :; do sleep 0.05; done) >/dev/null 2>&1 &\necho $! >\"$3/pid\"\n"
                               "kill -TERM $PPID\nwait\n";
    EXPECT_EQ(root.install(packageWithPostinstall(script).write(root.beside("a.pkg"))).lastLine(), kInterrupted);
    const pid_t process = std::stoi(contentOf(root / "pid"));
    const auto hasEnded = [=] { return test::stateOf(process) == 'Z' || test::stateOf(process) == 'X'; };
    for (int look = 0; look < 1000 && !hasEnded(); ++look) { // the kill was sent and needs a moment
        poll(nullptr, 0, 1);
    }
    EXPECT_TRUE(hasEnded());
}

TEST(InstallerKill, WhileWritingIsCleanWhenAskedToEnd) {
    const MacRoot root;
    const Snapshot before = root.snapshot();
    Program program(root.installCommand(root.samplePackage(kLargePackage)));
    ASSERT_TRUE(program.readUntil("installer:%"));
    program.sendSignal(SIGTERM);
    EXPECT_EQ(program.wait(), 1);
    EXPECT_EQ(program.lines().back(), kInterrupted);
    EXPECT_EQ(root.snapshot(), before);
}

TEST(InstallerKill, WhileWaitingForAnotherInstallationEndsTheWait) {
    const MacRoot root;
    TestPackage first;
    first.preinstall = "#!/bin/sh\nmkfifo \"$3/gate\"\nread -r line <\"$3/gate\"\n";
    Program one(root.installCommand(first.write(root.beside("first.pkg"))));
    ASSERT_TRUE(one.readUntil("installer:PHASE:Running package scripts"));
    Program two(root.installCommand(root.samplePackage({"--version", "1"})));
    ASSERT_TRUE(two.readUntil("installer:PHASE:Waiting for other installations"));
    two.sendSignal(SIGTERM);
    EXPECT_EQ(two.wait(), 1);
    EXPECT_EQ(two.lines().back(), kInterrupted);
    EXPECT_TRUE(root.hasStage()) << "the first one's stage is not the second one's to remove";
    one.sendSignal(SIGTERM);
    EXPECT_EQ(one.wait(), 1);
}

TEST(InstallerKill, IsObeyedBeforeAllDescriptionsAreRead) {
    const MacRoot root;
    const std::string path = root.beside("a.pkg").string();
    writeFlatPackage(path, {{"Distribution", "<installer-script><pkg-ref>#a</pkg-ref></installer-script>"},
                            {"a/PackageInfo", "no xml"}});
    ASSERT_THAT(root.install(path).lastLine(), testing::HasSubstr("cannot be read"));
    // The program is begun with a signal that has come already.
    std::vector<std::string> words{"/usr/bin/env", "--block-signal=TERM",        "/bin/sh",
                                   "-c",           "kill -TERM $$; exec \"$@\"", "sh"};
    const std::vector<std::string> command = root.installCommand(path);
    words.insert(words.end(), command.begin(), command.end());
    EXPECT_EQ(runProgram(words).lastLine(), kInterrupted);
}

} // namespace kyb::macroot
