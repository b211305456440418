#include "flat_package.h"
#include "mac_root.h"
#include "payload.h"
#include "plist_commands.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace kyb::macroot {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

const fs::path kSampleFolder = fs::path(builtProgram("")).parent_path().parent_path() / "OSX";
const std::string kSamplePackage = (kSampleFolder / "Brelund Quorlix Driver.pkg").string();

PayloadList payloadOf(const std::string &path) {
    const FlatPackage package(path);
    PayloadList list;
    package.eachArchive("Payload",
                        [&](const Component &, archive *reader) { scanPayload(reader, "", list, [](std::size_t) {}); });
    return list;
}

Ran makeMacroot(const fs::path &folder) {
    return runProgram({tool("make-macroot"), folder.string(), "--programs", builtProgram("")});
}

} // namespace

TEST(MakeMacroot, MakesWhatTheProductMeets) {
    const MacRoot root;
    for (const char *const folder :
         {"Applications", "Library/PrivilegedHelperTools", "Library/Preferences", "Library/Printers",
          "Library/LaunchDaemons", "var/db/receipts", "var/run", "var/tmp"}) {
        EXPECT_TRUE(fs::is_directory(root / folder) && fs::is_empty(root / folder)) << folder;
    }
    EXPECT_EQ(modeOf(root / "var/tmp"), 01777U);
    EXPECT_EQ(root.log(), "");
    for (const char *const program : {"usr/sbin/installer", "usr/libexec/PlistBuddy"}) {
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(root / program))) << program;
        EXPECT_EQ(fs::hard_link_count(root / program), 1U) << program;
        EXPECT_EQ(modeOf(root / program), 0755U) << program;
    }
    const fs::path version = root / "System/Library/CoreServices/SystemVersion.plist";
    PlistEditor editor(plistFromText(contentOf(version)));
    EXPECT_EQ(editor.run("Print :ProductName").text, "macOS");
    EXPECT_EQ(editor.run("Print :ProductVersion").text, "13.1");
    EXPECT_NE(editor.run("Print :ProductBuildVersion").text, "");
}

TEST(MakeMacroot, TakesAnEmptyFolder) {
    const TempFolder folder;
    EXPECT_EQ(makeMacroot(folder.path()).status, 0);
    EXPECT_TRUE(fs::exists(folder / "usr/sbin/installer"));
}

TEST(MakeMacroot, TouchesNothingThatIsThere) {
    const TempFolder folder;
    writeText(folder / "mine", "kept");
    fs::create_symlink("missing", folder / "link");
    const Snapshot before = snapshotOf(folder.path());
    for (const fs::path &path : {folder.path(), folder / "mine", folder / "link"}) {
        const Ran ran = makeMacroot(path);
        EXPECT_EQ(ran.status, 1) << path;
        EXPECT_THAT(ran.errors, HasSubstr("make-macroot: " + path.string())) << path;
    }
    EXPECT_EQ(snapshotOf(folder.path()), before);
}

TEST(MakeMacroot, SaysThatThereAreNoPrograms) {
    const TempFolder folder;
    const Ran ran =
        runProgram({tool("make-macroot"), (folder / "root").string(), "--programs", folder.path().string()});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.errors, HasSubstr("no program installer"));
    EXPECT_FALSE(fs::exists(folder / "root"));
}

TEST(MakeMacroot, TellsHowItIsCalled) {
    const std::vector<std::vector<std::string>> rows = {{}, {"--programs"}, {"--what"}, {"a", "b"}};
    for (std::vector<std::string> words : rows) {
        words.insert(words.begin(), tool("make-macroot"));
        const Ran ran = runProgram(words);
        EXPECT_EQ(ran.status, 1);
        EXPECT_THAT(ran.errors, testing::StartsWith("make-macroot: "));
    }
}

TEST(MakePackage, MakesAProductWithOneComponent) {
    const MacRoot root;
    const FlatPackage package(root.samplePackage({"--version", "4.2.0", "--name", "Some Driver & Co"}));
    EXPECT_EQ(package.title(), "Some Driver & Co");
    ASSERT_EQ(package.components().size(), 1U);
    const Component &component = package.components().front();
    EXPECT_EQ(component.folder, "Some Driver & Co.pkg");
    EXPECT_EQ(component.info.identifier, "com.Brelund.QuorlixInstaller");
    EXPECT_EQ(component.info.version, "4.2.0");
    for (const char *const name : {"Payload", "Scripts"}) {
        int archives = 0;
        package.eachArchive(name, [&](const Component &, archive *) { ++archives; });
        EXPECT_EQ(archives, 1) << name;
    }
}

TEST(MakePackage, TakesTheSizeThatIsAskedFor) {
    const MacRoot root;
    const auto small = fs::file_size(root.samplePackage({"--version", "1"}));
    const auto large = fs::file_size(root.samplePackage({"--version", "1", "--size", "1000001"}));
    EXPECT_GT(large - small, 990000U) << "the bytes do not compress";
}

TEST(MakePackage, TakesTheNumberOfFilesThatIsAskedFor) {
    const MacRoot root;
    const PayloadList few = payloadOf(root.samplePackage({"--version", "1"}));
    const PayloadList many = payloadOf(root.samplePackage({"--version", "1", "--files", "100"}));
    EXPECT_EQ(many.items().size(), few.items().size() + 101) << "the files and their folder";
    EXPECT_EQ(many.totalBytes(), few.totalBytes() + 70'000);
}

TEST(MakePackage, TellsHowItIsCalled) {
    const TempFolder folder;
    const std::string out = (folder / "a.pkg").string();
    const std::vector<std::vector<std::string>> rows = {
        {},
        {out},
        {"--version", "1"},
        {out, "--version"},
        {out, "--version", "1", "--size", "x"},
        {out, "--version", "1", "--size", "1x"},
        {out, "--version", "1", "--size", "-1"},
        {out, "--version", "1", "--size", "9223372036854775808"},
        {out, "--version", "1", "--files", "x"},
        {out, "--version", "1", "--fail", "x"},
        {out, "--version", "1", "--name", "a/b"},
        {out, "--version", "1", "more"},
    };
    for (std::vector<std::string> words : rows) {
        words.insert(words.begin(), {tool("make-package"), "--programs", builtProgram("")});
        const Ran ran = runProgram(words);
        EXPECT_EQ(ran.status, 1);
        EXPECT_EQ(ran.errors, "Usage: make_package OUT --version V [--size BYTES] [--files COUNT] "
                              "[--fail preinstall|postinstall|payload] [--name NAME]\n");
        EXPECT_FALSE(fs::exists(out));
    }
}

TEST(MakePackage, KeepsTheEarlierFileWhenItCannotWrite) {
    const TempFolder folder;
    const std::string out = (folder / "missing/a.pkg").string();
    const Ran ran = runProgram({tool("make-package"), out, "--version", "1", "--programs", builtProgram("")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.errors, testing::StartsWith("make_package: "));
}

TEST(MakePackage, ReplacesNothingButAFile) {
    const TempFolder folder;
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
    fs::create_symlink("fifo", folder / "link to fifo");
    fs::create_directory(folder / "folder");
    for (const char *const name : {"fifo", "link to fifo", "folder"}) {
        const std::string out = (folder / name).string();
        const Ran ran = runProgram({tool("make-package"), out, "--version", "1", "--programs", builtProgram("")});
        EXPECT_EQ(ran.status, 1) << name;
        EXPECT_EQ(ran.errors, "make_package: " + out + " is there already and no regular file\n");
    }
    EXPECT_TRUE(fs::is_fifo(folder / "fifo") && fs::is_symlink(folder / "link to fifo"));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 3);
}

TEST(MakePackage, LeavesNothingBeyondALimitOnTheSizeOfFiles) {
    const TempFolder folder;
    const Ran ran = runProgram({"/bin/sh", "-c", "ulimit -f 1; exec \"$@\"", "sh", tool("make-package"),
                                (folder / "a.pkg").string(), "--version", "1", "--programs", builtProgram("")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.errors, testing::StartsWith("make_package: "));
    EXPECT_THAT(ran.errors, HasSubstr("File too large"));
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(SamplePackage, LiesBesideItsVersionList) {
    const FlatPackage package(kSamplePackage);
    EXPECT_THAT(contentOf(kSampleFolder / "macver.list"),
                HasSubstr("\nBrelund Quorlix Driver=" + package.components().front().info.version + "\n"));
}

TEST(SamplePackage, IsOfSomeMegabytesInManyFiles) {
    const PayloadList payload = payloadOf(kSamplePackage);
    EXPECT_GE(payload.items().size(), 10'000U) << "so that every phase can be seen";
    EXPECT_GE(payload.totalBytes(), 5'000'000);
    EXPECT_LE(fs::file_size(kSamplePackage), 20'000'000U);
}

} // namespace kyb::macroot
