#include "mac_root.h"

#include <gmock/gmock.h>

namespace kyb::macroot {
namespace {

namespace fs = std::filesystem;

constexpr const char *kScript = "Library/Printers/BrelundQuorlix/Uninstall.sh";

} // namespace

TEST(Uninstall, RemovesAllThatWasInstalledHoweverItIsCalled) {
    for (const bool throughShell : {true, false}) {
        const MacRoot root;
        const Snapshot before = root.snapshot();
        ASSERT_EQ(root.install(root.samplePackage({"--version", "1"})).status, 0);
        const std::string path = (root / kScript).string();
        const Ran ran = throughShell ? runProgram({"/bin/sh", path}) : runProgram({path});
        EXPECT_EQ(ran.status, 0) << ran.errors;
        EXPECT_EQ(ran.errors, "");
        EXPECT_EQ(root.snapshot(), before);
    }
}

TEST(Uninstall, WorksByARelativePath) {
    const MacRoot root;
    const Snapshot before = root.snapshot();
    ASSERT_EQ(root.install(root.samplePackage({"--version", "1"})).status, 0);
    const std::string folder = (root / kScript).parent_path().string();
    EXPECT_EQ(runProgram({"/bin/sh", "-c", "cd '" + folder + "' && ./Uninstall.sh"}).status, 0);
    EXPECT_EQ(root.snapshot(), before);
}

TEST(Uninstall, LeavesWhatIsNotTheDrivers) {
    const MacRoot root;
    ASSERT_EQ(root.install(root.samplePackage({"--version", "1"})).status, 0);
    writeText(root / "Library/Printers/other", "kept");
    writeText(root / "var/db/receipts/other.plist", "kept");
    EXPECT_EQ(runProgram({"/bin/sh", (root / kScript).string()}).status, 0);
    EXPECT_EQ(contentOf(root / "Library/Printers/other"), "kept");
    EXPECT_EQ(contentOf(root / "var/db/receipts/other.plist"), "kept");
}

TEST(Uninstall, RemovesNothingFromAnotherPlace) {
    const MacRoot root;
    ASSERT_EQ(root.install(root.samplePackage({"--version", "1"})).status, 0);
    fs::create_directories(root.beside("elsewhere"));
    fs::copy(root / kScript, root.beside("elsewhere"));
    const Snapshot before = root.snapshot();
    EXPECT_EQ(runProgram({"/bin/sh", (root.beside("elsewhere") / "Uninstall.sh").string()}).status, 1);
    EXPECT_TRUE(fs::exists(root.beside("elsewhere") / "Uninstall.sh"));
    EXPECT_EQ(root.snapshot(), before);
}

TEST(Uninstall, LetsTheNextInstallationBeAFreshOne) {
    const MacRoot root;
    const std::string package = root.samplePackage({"--version", "1"});
    ASSERT_EQ(root.install(package).status, 0);
    ASSERT_EQ(runProgram({"/bin/sh", (root / kScript).string()}).status, 0);
    EXPECT_EQ(root.install(package).lastLine(), "installer: The install was successful.");
}

} // namespace kyb::macroot
