#include "mac_root.h"
#include "stage.h"
#include "test_package.h"

#include <gmock/gmock.h>

namespace kyb::macroot {
namespace {

namespace fs = std::filesystem;

/// What a package's scripts may do to the installer's own folders; $TMPDIR lies in the stage.
const std::vector<std::string> kTricks = {
    "mkfifo \"$TMPDIR/../plan\"",
    "mkdir \"$TMPDIR/../plan\"",
    "ln -sf /dev/zero \"$TMPDIR/../plan\"",
    "echo nonsense >\"$TMPDIR/../plan\"",
    "chmod 0 \"$TMPDIR/../plan\"",
    "chmod 0 \"$TMPDIR/..\"",
    "chmod 0 \"$TMPDIR/../files\" \"$TMPDIR/../saved\"",
    "rm -rf \"$TMPDIR/..\"",
    "rm -rf \"$TMPDIR/..\"; ln -s \"$3/Library\" \"$3/var/db/.installer-stage\"",
    "rm -rf \"$TMPDIR/..\"; mkfifo \"$3/var/db/.installer-stage\"",
    "rm -rf \"$TMPDIR/../files\"; ln -s \"$3/../outside\" \"$TMPDIR/../files\"",
    "rm -rf \"$TMPDIR/../saved\"; ln -s \"$3/../outside\" \"$TMPDIR/../saved\"",
    "mkfifo \"$TMPDIR/../../.installer-trash\"",
    "ln -s ../../../outside \"$TMPDIR/../../.installer-trash\"",
    "mkdir -m 0 \"$TMPDIR/../../.installer-trash\"",
    "rm -rf \"$3/var/db/receipts\"",
};

std::string badPackage(const MacRoot &root, std::string TestPackage::*script, const std::string &text) {
    TestPackage package;
    package.*script = "#!/bin/sh\n" + text + "\n";
    package.payload = [](PayloadWriter &payload) { payload.addFile("./Library/Some/file", "bad"); };
    return package.write(root.beside("bad.pkg"));
}

std::string goodPackage(const MacRoot &root) {
    TestPackage package;
    package.identifier = "com.example.good";
    package.payload = [](PayloadWriter &payload) { payload.addFile("./Library/Some/file", "good"); };
    return package.write(root.beside("good.pkg"));
}

/// A package with a folder of this mode that holds a file and a folder.
TestPackage packageWithFolder(mode_t mode) {
    TestPackage package;
    package.payload = [mode](PayloadWriter &payload) {
        payload.addFolder("./Library/Some", mode);
        payload.addFile("./Library/Some/file", "text");
        payload.addFile("./Library/Some/below/file", "text");
    };
    return package;
}

} // namespace

TEST(HostileScript, LeavesNothingThatStopsTheNextInstallation) {
    for (const std::string &trick : kTricks) {
        const MacRoot root;
        fs::create_directories(root.beside("outside"));
        const std::string good = goodPackage(root);
        for (std::string TestPackage::*const script : {&TestPackage::preinstall, &TestPackage::postinstall}) {
            for (const int status : {0, 1}) {
                root.install(badPackage(root, script, trick + "\nexit " + std::to_string(status)));
                const Ran ran = root.install(good);
                EXPECT_EQ(ran.status, 0) << trick << ": " << ran.lastLine();
                EXPECT_FALSE(root.hasStage()) << trick;
                EXPECT_EQ(contentOf(root / "Library/Some/file"), "good") << trick;
            }
        }
        EXPECT_TRUE(fs::is_empty(root.beside("outside"))) << trick;
    }
}

TEST(HostileScript, ThatKillsTheInstallerStopsOneInstallationAtMost) {
    for (const std::string &trick : kTricks) {
        const MacRoot root;
        fs::create_directories(root.beside("outside"));
        const std::string good = goodPackage(root);
        for (std::string TestPackage::*const script : {&TestPackage::preinstall, &TestPackage::postinstall}) {
            root.install(badPackage(root, script, trick + "\nkill -9 $PPID"));
            root.install(good);
            const Ran ran = root.install(good);
            EXPECT_EQ(ran.status, 0) << trick << ": " << ran.lastLine();
            EXPECT_FALSE(root.hasStage()) << trick;
        }
        EXPECT_TRUE(fs::is_empty(root.beside("outside"))) << trick;
    }
}

TEST(HostileScript, ThatTakesAFolderAwayIsToldByThePath) {
    const MacRoot root;
    const Ran ran = root.install(badPackage(root, &TestPackage::postinstall, "rm -rf \"$3/var/db/receipts\""));
    EXPECT_EQ(ran.lastLine(), "installer: The install failed. (/var/db/receipts: No such file or directory)");
}

TEST(ClosedFolders, AreFilledAndThenClosed) {
    for (const mode_t mode : {0U, 0444U, 0555U, 01777U}) {
        const MacRoot root;
        const Ran ran = root.install(packageWithFolder(mode).write(root.beside("a.pkg")));
        EXPECT_EQ(ran.status, 0) << ran.lastLine();
        EXPECT_EQ(modeOf(root / "Library/Some"), mode);
        fs::permissions(root / "Library/Some", fs::perms::owner_all);
        EXPECT_EQ(contentOf(root / "Library/Some/below/file"), "text");
    }
}

TEST(ClosedFolders, AreTakenBackWithAllThatIsInThem) {
    const MacRoot root;
    const Snapshot before = root.snapshot();
    for (const mode_t mode : {0U, 0444U, 0555U}) {
        for (const char *const end : {"exit 1", "kill -9 $PPID"}) {
            TestPackage package = packageWithFolder(mode);
            package.postinstall = std::string("#!/bin/sh\n") + end + "\n";
            root.install(package.write(root.beside("a.pkg")));
            root.install(root.samplePackage({"--version", "1", "--fail", "preinstall"}));
            EXPECT_EQ(root.snapshot(), before) << mode << end;
        }
    }
}

} // namespace kyb::macroot
