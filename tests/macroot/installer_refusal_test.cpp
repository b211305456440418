#include "mac_root.h"
#include "posix/file_io.h"
#include "test_package.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace kyb::macroot {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char *kFailedInstall = "installer: The install failed. (";

std::string textOf(PayloadWriter &payload) {
    const UniqueFd file = payload.finish();
    lseek(file.get(), 0, SEEK_SET);
    return readAll(file.get(), kNoLimit).value_or("");
}

constexpr int kLargestFile = 64 << 10;

/// With a limit on the size of files, kLargestFile.
Ran installWithinLimit(const MacRoot &root, const std::string &package) {
    std::vector<std::string> words = root.installCommand(package);
    const std::string limit = "ulimit -f " + std::to_string(kLargestFile / 512); // blocks
    words.insert(words.begin(), {"/bin/sh", "-c", limit + "; exec \"$@\"", "sh"});
    return runProgram(words);
}

} // namespace

TEST(InstallerRefusal, TellsHowItIsCalled) {
    const MacRoot root;
    const std::string program = (root / "usr/sbin/installer").string();
    const std::vector<std::vector<std::string>> rows = {
        {},    {"-pkg"}, {"-pkg", "a"}, {"-target", "/"}, {"-pkg", "a", "-target"}, {"-pkg", "a", "-target", "/", "-x"},
        {"a"},
    };
    for (std::vector<std::string> words : rows) {
        words.insert(words.begin(), program);
        const Ran ran = runProgram(words);
        EXPECT_EQ(ran.status, 1);
        EXPECT_EQ(ran.errors, "Usage: installer -pkg <path to package> -target / [-verboseR]\n");
        EXPECT_TRUE(ran.lines.empty());
    }
}

TEST(InstallerRefusal, KnowsOneTarget) {
    const MacRoot root;
    std::vector<std::string> command = root.installCommand(root.samplePackage({"--version", "1"}));
    command[4] = "/Volumes/Other";
    const Snapshot before = root.snapshot();
    const Ran ran = runProgram(command);
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.lines,
                ElementsAre("installer: Error - the target specified is not supported: '/Volumes/Other'. The "
                            "only target is /."));
    EXPECT_EQ(root.snapshot(), before);
}

TEST(InstallerRefusal, NeedsItsPlaceInARoot) {
    const MacRoot root;
    const Ran ran = runProgram(
        {builtProgram("installer"), "-pkg", root.samplePackage({"--version", "1"}), "-target", "/", "-verboseR"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.errors, "installer: this program does not lie at usr/sbin/installer of a root folder\n");
}

TEST(InstallerRefusal, SaysThatAPathIsNoPackage) {
    const MacRoot root;
    writeText(root.beside("empty"), "");
    writeText(root.beside("text"), "This is no package.\n");
    writeText(root.beside("magic"), "xar!");
    writeFlatPackage(root.beside("nothing in it").string(), {{"Something", "text", -1}});
    ASSERT_EQ(mkfifo(root.beside("fifo").c_str(), 0600), 0);
    for (const char *const name : {"missing", "empty", "text", "magic", "nothing in it", "fifo", "root"}) {
        const std::string path = root.beside(name).string();
        const Snapshot before = root.snapshot();
        const Ran ran = root.install(path);
        EXPECT_EQ(ran.status, 1) << name;
        EXPECT_EQ(ran.lastLine(), "installer: Error - the package path specified was invalid: '" + path + "'.");
        EXPECT_EQ(root.snapshot(), before) << name;
    }
}

TEST(InstallerRefusal, TakesNoPayloadThatCouldLeaveTheRoot) {
    using Fill = void (*)(PayloadWriter &);
    const std::tuple<const char *, Fill, const char *> rows[] = {
        {"dots", [](PayloadWriter &p) { p.addFile("../evil", "x"); },
         "The payload holds a path outside of the target: ../evil"},
        {"dots below", [](PayloadWriter &p) { p.addFile("./Library/../../evil", "x"); },
         "The payload holds a path outside of the target: ./Library/../../evil"},
        {"absolute", [](PayloadWriter &p) { p.addFile("/tmp/kyb-macroot-evil", "x"); },
         "The payload holds a path outside of the target: /tmp/kyb-macroot-evil"},
        {"folder", [](PayloadWriter &p) { p.addFolder("../evil"); },
         "The payload holds a path outside of the target: ../evil"},
        {"link", [](PayloadWriter &p) { p.addSymbolicLink("./Library/link", "/tmp"); },
         "The payload holds a link that leaves the target: /Library/link -> /tmp"},
        {"link with dots", [](PayloadWriter &p) { p.addSymbolicLink("./Library/link", "../../evil"); },
         "The payload holds a link that leaves the target: /Library/link -> ../../evil"},
        {"through a link",
         [](PayloadWriter &p) {
             p.addSymbolicLink("./Library/link", "Printers");
             p.addFile("./Library/link/evil", "x");
         },
         "The payload holds something below /Library/link, which is no folder of it"},
        {"hard link with dots", [](PayloadWriter &p) { p.addLinkedFiles("../evil", "./Library/x", "x"); },
         "The payload holds a path outside of the target: ../evil"},
        {"own stage", [](PayloadWriter &p) { p.addFile("./var/db/.installer-stage/plan", "x"); },
         "/var/db/.installer-stage: this place is the installer's own"},
    };
    const MacRoot root;
    const Snapshot before = root.snapshot();
    for (const auto &[name, fill, reason] : rows) {
        TestPackage package;
        package.payload = [fill = fill](PayloadWriter &payload) {
            payload.addFile("./Library/good", "x");
            fill(payload);
        };
        const Ran ran = root.install(package.write(root.beside("a.pkg")));
        EXPECT_EQ(ran.status, 1) << name;
        EXPECT_EQ(ran.lastLine(), std::string(kFailedInstall) + reason + ")") << name;
        EXPECT_EQ(root.snapshot(), before) << name;
        EXPECT_FALSE(fs::exists(root.beside("evil"))) << name;
    }
}

TEST(InstallerRefusal, RunsNoScriptOfAPackageWithABadPayload) {
    const MacRoot root;
    TestPackage package;
    package.preinstall = "#!/bin/sh\ntouch \"$3/ran\"\n";
    package.payload = [](PayloadWriter &payload) { payload.addFile("../evil", "x"); };
    EXPECT_EQ(root.install(package.write(root.beside("a.pkg"))).status, 1);
    EXPECT_FALSE(fs::exists(root / "ran"));
}

TEST(InstallerRefusal, RunsNoScriptOfAPackageThatCannotGoToItsPlace) {
    const MacRoot root;
    fs::create_directories(root / "Library/file");
    TestPackage package;
    package.preinstall = "#!/bin/sh\ntouch \"$3/ran\"\n";
    package.payload = [](PayloadWriter &payload) { payload.addFile("./Library/file", "x"); };
    EXPECT_EQ(root.install(package.write(root.beside("a.pkg"))).status, 1);
    EXPECT_FALSE(fs::exists(root / "ran"));
}

TEST(InstallerRefusal, GoesThroughNoLinkThatSomebodyMade) {
    const std::pair<const char *, const char *> rows[] = {
        {"Library/Printers", "/Library/Printers: no folder stands at this place"},
        {"Library", "/Library: no folder stands at this place"},
        {"var/db/receipts", "/var/db/receipts: a link or a file stands where a folder should be (receipts)"},
        {"var/db", "/var/db/receipts: a link or a file stands where a folder should be (db)"},
        {"var/run", "/var/run: a link or a file stands where a folder should be (run)"}};
    for (const auto &[folder, reason] : rows) {
        const MacRoot root;
        fs::create_directories(root.beside("outside"));
        fs::remove_all(root / folder);
        fs::create_directory_symlink(root.beside("outside"), root / folder);
        const Ran ran = root.install(root.samplePackage({"--version", "1"}));
        EXPECT_EQ(ran.status, 1) << folder;
        EXPECT_EQ(ran.lastLine(), std::string(kFailedInstall) + reason + ")") << folder;
        EXPECT_TRUE(fs::is_empty(root.beside("outside"))) << folder;
        EXPECT_FALSE(root.hasStage()) << folder;
    }
}

TEST(InstallerRefusal, GoesThroughNoLinkThatAScriptMade) {
    const MacRoot root;
    fs::create_directories(root.beside("outside"));
    TestPackage package;
    package.preinstall = "#!/bin/sh\nln -s ../../outside \"$3/Library/Some\"\n";
    package.payload = [](PayloadWriter &payload) { payload.addFile("./Library/Some/evil", "x"); };
    EXPECT_EQ(root.install(package.write(root.beside("a.pkg"))).status, 1);
    EXPECT_TRUE(fs::is_empty(root.beside("outside")));
}

TEST(InstallerRefusal, LeavesNothingOfAPackageThatFails) {
    const std::pair<const char *, const char *> rows[] = {
        {"preinstall", "The preinstall script failed with status 1."},
        {"postinstall", "The postinstall script failed with status 1."},
        {"payload",
         "The payload is damaged at ./Library/Printers/BrelundQuorlix/Resources/halftones.bin: truncated gzip input"}};
    for (const auto &[part, reason] : rows) {
        const MacRoot root;
        const Snapshot before = root.snapshot();
        const Ran ran = root.install(root.samplePackage({"--version", "1", "--size", "300000", "--fail", part}));
        EXPECT_EQ(ran.status, 1) << part;
        EXPECT_EQ(ran.lastLine(), std::string(kFailedInstall) + reason + ")") << part;
        EXPECT_THAT(ran.lines, Not(Contains(HasSubstr("successful"))));
        EXPECT_EQ(root.snapshot(), before) << part;
        EXPECT_THAT(root.log(), HasSubstr("The installation failed: ")) << part;
    }
}

TEST(InstallerRefusal, KeepsTheEarlierVersionWhenAnUpgradeFails) {
    for (const char *const part : {"preinstall", "postinstall", "payload"}) {
        const MacRoot root;
        ASSERT_EQ(root.install(root.samplePackage({"--version", "1"})).status, 0);
        const Snapshot before = root.snapshot();
        const Ran ran = root.install(root.samplePackage({"--version", "2", "--size", "300000", "--fail", part}));
        EXPECT_EQ(ran.status, 1) << part;
        EXPECT_EQ(root.snapshot(), before) << part;
    }
}

TEST(InstallerRefusal, TakesAReceiptBackWithTheFiles) {
    const MacRoot root;
    PayloadWriter scripts;
    scripts.addFile("./preinstall", "#!/bin/sh\n", 0755);
    // Where the second component's receipt goes stands a folder, so it fails when the first one's is written.
    scripts.addFile("./postinstall", "#!/bin/sh\nmkdir -p \"$3/var/db/receipts/second.plist\"\n", 0755);
    PayloadWriter payload;
    payload.addFile("./Library/file", "x");
    const UniqueFd scriptsFile = scripts.finish();
    const UniqueFd payloadFile = payload.finish();
    const std::string path = root.beside("a.pkg").string();
    writeFlatPackage(path,
                     {{"Distribution", "<installer-script><pkg-ref id='1'>#1.pkg</pkg-ref>"
                                       "<pkg-ref id='2'>#2.pkg</pkg-ref></installer-script>"},
                      {"1.pkg/PackageInfo", packageInfoText({.identifier = "first", .version = "1", .payload = {}})},
                      {"1.pkg/Scripts", "", scriptsFile.get()},
                      {"1.pkg/Payload", "", payloadFile.get()},
                      {"2.pkg/PackageInfo", "<pkg-info identifier='second' version='1'/>"}});
    EXPECT_EQ(root.install(path).status, 1);
    EXPECT_THAT(root.log(), HasSubstr("Wrote the receipt of first"));
    EXPECT_FALSE(fs::exists(root / "var/db/receipts/first.plist"));
    EXPECT_FALSE(fs::exists(root / "Library/file"));
    EXPECT_FALSE(root.hasStage());
}

TEST(InstallerRefusal, SaysThatAnUpgradeFailed) {
    const MacRoot root;
    ASSERT_EQ(root.install(root.samplePackage({"--version", "1"})).status, 0);
    const Ran ran = root.install(root.samplePackage({"--version", "2", "--fail", "postinstall"}));
    EXPECT_EQ(ran.lastLine(), "installer: The upgrade failed. (The postinstall script failed with status 1.)");
    EXPECT_THAT(root.log(), HasSubstr("postinstall: postinstall: this package was made to fail here"));
}

TEST(InstallerRefusal, SaysHowAScriptFailed) {
    const std::pair<const char *, const char *> rows[] = {
        {"#!/bin/sh\nexit 255\n", "failed with status 255."},
        {"#!/bin/sh\nkill -9 $$\n", "was ended by signal 9."},
        {"#!/no/such/program\n", "cannot be run: No such file or directory"},
        {"neither a script nor a program", "cannot be run: Exec format error"},
    };
    for (const auto &[script, failure] : rows) {
        const MacRoot root;
        TestPackage package;
        package.preinstall = script;
        const Ran ran = root.install(package.write(root.beside("a.pkg")));
        EXPECT_EQ(ran.status, 1);
        EXPECT_EQ(ran.lastLine(), std::string(kFailedInstall) + "The preinstall script " + failure + ")");
        EXPECT_FALSE(root.hasStage());
    }
}

TEST(InstallerRefusal, LeavesNothingBeyondALimitOnTheSizeOfFiles) {
    const MacRoot root;
    const std::string package = root.samplePackage({"--version", "1", "--size", "300000"});
    const Snapshot before = root.snapshot();
    const Ran ran = installWithinLimit(root, package);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.lastLine(), std::string(kFailedInstall) +
                                  "/Library/Printers/BrelundQuorlix/Resources/halftones.bin: File too large)");
    EXPECT_EQ(root.snapshot(), before);
}

TEST(InstallerRefusal, IsNotForALogThatMayNotGrow) {
    const MacRoot root;
    writeText(root / "var/log/install.log", std::string(kLargestFile, '\n'));
    EXPECT_EQ(installWithinLimit(root, root.samplePackage({"--version", "1"})).lastLine(),
              "installer: The install was successful.");
}

TEST(InstallerRefusal, NeedsEveryComponentThatAPackageNames) {
    const MacRoot root;
    const std::string path = root.beside("a.pkg").string();
    writeFlatPackage(path, {{"Distribution", distributionText("A", "a", "1", "a.pkg"), -1}});
    const Ran ran = root.install(path);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.lastLine(), std::string(kFailedInstall) + "The package has no component a.pkg)");
}

TEST(InstallerRefusal, IsNotForAPackageOfManyComponentsAndMembers) {
    const MacRoot root;
    std::vector<PackageMember> members{{"Distribution", ""}};
    for (int i = 0; i < 100; ++i) {
        const std::string folder = std::to_string(i);
        PayloadWriter payload;
        payload.addFile("./Library/" + folder, "x");
        members.front().text += "<pkg-ref id='" + folder + "'>#" + folder + "</pkg-ref>";
        members.push_back({folder + "/PackageInfo", "<pkg-info identifier='" + folder + "' version='1'/>"});
        members.push_back({folder + "/Payload", textOf(payload)});
    }
    members.front().text = "<installer-script>" + members.front().text + "</installer-script>";
    for (int i = 0; i < 10'000; ++i) {
        members.push_back({"Resources/" + std::to_string(i), ""});
    }
    const std::string path = root.beside("a.pkg").string();
    writeFlatPackage(path, members);
    std::vector<std::string> words = root.installCommand(path);
    words.insert(words.begin(), {"/bin/sh", "-c", "ulimit -t 10; exec \"$@\"", "sh"});
    EXPECT_EQ(runProgram(words).lastLine(), "installer: The install was successful.");
    EXPECT_TRUE(fs::exists(root / "Library/0") && fs::exists(root / "Library/99"));
}

TEST(InstallerRefusal, TakesADescriptionOfAMebibyteAndNoLongerOne) {
    const MacRoot root;
    const std::string path = root.beside("a.pkg").string();
    std::string description = "<pkg-info identifier='a' version='1'/>";
    description.resize(1 << 20, ' ');
    writeFlatPackage(path, {{"PackageInfo", description}});
    EXPECT_EQ(root.install(path).status, 0);
    writeFlatPackage(path, {{"PackageInfo", description + ' '}});
    EXPECT_EQ(root.install(path).lastLine(), std::string(kFailedInstall) + "The package's PackageInfo is too long)");
}

TEST(InstallerRefusal, TakesNoPackageWhoseDescriptionsFillTheMemory) {
    const MacRoot root;
    const std::string path = root.beside("a.pkg").string();
    std::vector<PackageMember> members{{"PackageInfo", "<pkg-info identifier='a' version='1'/>"}};
    for (int i = 0; i < 65; ++i) {
        members.push_back({std::to_string(i) + "/PackageInfo", std::string(1'000'000, ' ')});
    }
    writeFlatPackage(path, members);
    EXPECT_EQ(root.install(path).status, 0);
    members.push_back({"last/PackageInfo", std::string(1'000'000, ' ')});
    members.push_back({"more/PackageInfo", std::string(1'000'000, ' ')});
    members.push_back({"end/PackageInfo", std::string(1'000'000, ' ')});
    writeFlatPackage(path, members);
    EXPECT_EQ(root.install(path).lastLine(), std::string(kFailedInstall) + "The package's descriptions are too long)");
}

} // namespace kyb::macroot
