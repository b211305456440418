#include "mac_root.h"
#include "package_writer.h"
#include "stage.h"

#include <atomic>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sstream>
#include <thread>

namespace kyb::macroot {
namespace {

namespace fs = std::filesystem;

/// An entry of a payload, as no writer of packages makes it.
struct Record {
    std::string name;
    std::string content = "x"; ///< a link's target
    unsigned mode = 0100644;
    unsigned inode = 0;
    unsigned links = 1;
};

Record link(const std::string &name, const std::string &target) {
    return {.name = name, .content = target, .mode = 0120777};
}

Record folder(const std::string &name) {
    return {.name = name, .content = "", .mode = 040755};
}

std::string octal(std::size_t value, std::size_t digits) {
    std::string text(digits, '0');
    for (std::size_t i = digits; i > 0; value /= 8) {
        text[--i] = static_cast<char>('0' + value % 8);
    }
    return text;
}

/// The archive of these entries, in cpio's old portable format.
std::string archiveOf(std::vector<Record> records) {
    records.push_back({.name = "TRAILER!!!", .content = "", .mode = 0});
    std::string archive;
    for (const Record &record : records) {
        archive += "070707" + octal(1, 6) + octal(record.inode, 6) + octal(record.mode, 6) + octal(0, 12) +
                   octal(record.links, 6) + octal(0, 6) + octal(0, 11) + octal(record.name.size() + 1, 6) +
                   octal(record.content.size(), 11) + record.name + '\0' + record.content;
    }
    return archive;
}

/// A package whose preinstall script tells that it was run.
std::string packageOf(const MacRoot &root, const std::vector<Record> &payload) {
    const std::string path = root.beside("a.pkg").string();
    const std::string scripts = archiveOf({{"./preinstall", "#!/bin/sh\ntouch \"$3/ran\"\n", 0100755}});
    writeFlatPackage(path, {{"PackageInfo", "<pkg-info identifier='hostile' version='1'><scripts>"
                                            "<preinstall file='./preinstall'/></scripts></pkg-info>"},
                            {"Scripts", scripts},
                            {"Payload", archiveOf(payload)}});
    return path;
}

std::string deepPath(std::size_t levels) {
    std::string path = "Library";
    for (std::size_t i = 1; i < levels; ++i) {
        path += "/d";
    }
    return path;
}

Ran installWithDescriptors(const MacRoot &root, int descriptors, const std::string &package) {
    std::vector<std::string> words{"/bin/sh", "-c", "ulimit -n " + std::to_string(descriptors) + "; exec \"$@\"", "sh"};
    const std::vector<std::string> command = root.installCommand(package);
    words.insert(words.end(), command.begin(), command.end());
    return runProgram(words);
}

} // namespace

TEST(HostilePayload, IsRefusedBeforeAnythingIsRunOrWritten) {
    const std::pair<const char *, std::vector<Record>> rows[] = {
        {"a block device", {{.name = "Library/x", .content = "", .mode = 0060644}}},
        {"a character device", {{.name = "Library/x", .content = "", .mode = 0020666}}},
        {"a FIFO", {{.name = "Library/x", .content = "", .mode = 0010644}}},
        {"a socket", {{.name = "Library/x", .content = "", .mode = 0140644}}},
        {"no kind at all", {{.name = "Library/x", .content = "", .mode = 0644}}},
        {"no name", {{.name = ""}}},
        {"up", {{.name = ".."}}},
        {"up and away", {{.name = "../evil"}}},
        {"up behind a folder", {{.name = "Library/../../evil"}}},
        {"up within", {{.name = "Library/../evil"}}},
        {"up at the end", {folder("Library/a"), folder("Library/a/../..")}},
        {"absolute", {{.name = "/tmp/evil"}}},
        {"absolute folder", {folder("/")}},
        {"a name that is too long", {{.name = "Library/" + std::string(256, 'n')}}},
        {"a path that is too long", {{.name = deepPath(600) + "/x"}}},
        {"a link up", {link("Library/x", "../..")}},
        {"a link up behind a folder", {folder("Library/a"), link("Library/x", "a/../../..")}},
        {"a link that is too long", {link("Library/x", std::string(5000, 't'))}},
        {"an empty link", {link("Library/x", "")}},
        {"an absolute link", {link("Library/x", "/etc/passwd")}},
        {"two links that leave together", {link("a/b/c/up", "../../.."), link("out", "a/b/c/up/../evil")}},
        {"two links, the other way round", {link("out", "a/b/c/up/.."), link("a/b/c/up", "../../..")}},
        {"links in a row", {link("one", "two/.."), link("two", "three/.."), folder("three")}},
        {"through a link", {link("Library/l", "Printers"), {.name = "Library/l/x"}}},
        {"through a link that comes later", {{.name = "Library/l/x"}, link("Library/l", "Printers")}},
        {"through a link to a link", {link("m", "Library"), link("l", "m"), folder("l/x")}},
        {"a folder in place of a link", {link("Library/x", "a"), folder("Library/x")}},
        {"a link in place of a folder", {folder("Library/x"), link("Library/x", "a")}},
        {"a file in place of a folder", {folder("Library/x"), {.name = "Library/x"}}},
        {"a file in place of a link", {link("Library/x", "a"), {.name = "Library/x"}}},
        {"twice", {{.name = "Library/x"}, {.name = "Library/x"}}},
        {"twice, in other words", {{.name = "Library/x"}, {.name = ".//Library/./x"}}},
        {"a hard link to a link",
         {{.name = "l", .content = "/etc/passwd", .mode = 0120777, .inode = 5, .links = 2},
          {.name = "h", .inode = 5, .links = 2}}},
        {"a hard link to a link that stays",
         {{.name = "l", .content = "Library", .mode = 0120777, .inode = 5, .links = 2},
          {.name = "h", .content = "", .inode = 5, .links = 2}}},
        {"a hard link to a folder",
         {{.name = "f", .content = "", .mode = 040755, .inode = 5, .links = 2}, {.name = "h", .inode = 5, .links = 2}}},
        {"a hard link with another content",
         {{.name = "f", .content = "", .inode = 5, .links = 2},
          {.name = "h", .content = "lost", .inode = 5, .links = 2}}},
        {"a hard link out", {{.name = "f", .inode = 5, .links = 2}, {.name = "../h", .inode = 5, .links = 2}}},
        {"in the stage", {{.name = std::string(Stage::kFolder) + "/plan"}}},
        {"in the trash", {{.name = std::string(Stage::kTrash) + "/0"}}},
        {"among what is kept", {{.name = std::string(Stage::kKept) + "/0"}}},
        {"the lock", {{.name = "var/run/installer.lock"}}},
        {"its own receipt", {{.name = "var/db/receipts/hostile.plist"}}},
    };
    const MacRoot root;
    const Snapshot before = root.snapshot();
    for (const auto &[name, payload] : rows) {
        const Ran ran = root.install(packageOf(root, payload));
        EXPECT_EQ(ran.status, 1) << name;
        EXPECT_THAT(ran.lastLine(), testing::StartsWith("installer: The install failed. (")) << name;
        EXPECT_EQ(root.snapshot(), before) << name;
        EXPECT_FALSE(fs::exists(root.beside("evil"))) << name;
    }
}

TEST(HostilePayload, StaysBelowTheRootWhateverItsNames) {
    const MacRoot root;
    const std::vector<Record> payload = {
        {.name = "Library/line\nR..\nRetc/evil\n"},
        {.name = "Library/\x1b[2J\x07"},
        {.name = "Library/back\\..\\..\\evil"},
        {.name = "Library/...", .mode = 0106755},
        {.name = "Library/caf\xe9"},
        {.name = deepPath(500) + "/x"},
        link("Library/circle", "circle"),
        link("one", "two"),
        link("two", "one"),
    };
    for (int run = 0; run < 2; ++run) {
        const Ran ran = root.install(packageOf(root, payload));
        EXPECT_EQ(ran.status, 0) << ran.lastLine();
        EXPECT_FALSE(root.hasStage());
    }
    for (const Record &record : payload) {
        EXPECT_TRUE(fs::exists(fs::symlink_status(root / record.name))) << record.name;
    }
    EXPECT_EQ(modeOf(root / "Library/..."), 06755U);
    EXPECT_EQ(std::distance(fs::directory_iterator(root.beside("")), {}), 2) << "the root and the package";
    std::istringstream log(root.log());
    for (std::string line; std::getline(log, line);) {
        EXPECT_THAT(line, testing::MatchesRegex("[0-9]{4}-.* installer\\[[0-9]+\\]: [^\x01-\x1f]+"));
    }
}

/// A folder on the way is a link every other moment, to one beside the root.
TEST(HostilePayload, StaysBelowTheRootWhoeverSwapsItsFolders) {
    const MacRoot root;
    fs::create_directories(root / "Library/Some");
    fs::create_directory(root.beside("outside"));
    fs::create_directory_symlink(root.beside("outside"), root / "Library/link");
    std::vector<Record> payload;
    for (int i = 0; i < 200; ++i) {
        payload.push_back({.name = "Library/Some/" + std::to_string(i)});
    }
    const std::string package = packageOf(root, payload);
    std::atomic<bool> isDone = false;
    std::thread swapper([&] {
        while (!isDone) {
            renameat2(AT_FDCWD, (root / "Library/Some").c_str(), AT_FDCWD, (root / "Library/link").c_str(),
                      RENAME_EXCHANGE);
        }
    });
    for (int run = 0; run < 20; ++run) {
        root.install(package);
    }
    isDone = true;
    swapper.join();
    EXPECT_TRUE(fs::is_empty(root.beside("outside")));
    fs::remove_all(root / "Library/Some");
    fs::remove_all(root / "Library/link");
    EXPECT_EQ(root.install(package).status, 0);
    EXPECT_FALSE(root.hasStage());
}

TEST(HostilePayload, LeavesNothingBehindForWantOfDescriptors) {
    const MacRoot root;
    const std::string package = packageOf(root, {{.name = deepPath(500) + "/x"}, {.name = "Library/y"}});
    EXPECT_EQ(installWithDescriptors(root, 24, package).status, 0);
    EXPECT_FALSE(root.hasStage());
    EXPECT_EQ(installWithDescriptors(root, 24, package).status, 0);
}

TEST(HostilePayload, IsInstalledOrNotWithAnyNumberOfDescriptors) {
    int successes = 0;
    for (int descriptors = 4; descriptors < 24; ++descriptors) {
        const MacRoot root;
        const std::string package = packageOf(root, {{.name = "Library/a/b/x"}, link("Library/l", "a")});
        const Ran ran = installWithDescriptors(root, descriptors, package);
        successes += ran.status == 0 ? 1 : 0;
        if (ran.status == 0) {
            EXPECT_EQ(ran.lastLine(), "installer: The install was successful.") << descriptors;
            EXPECT_TRUE(fs::exists(root / "Library/a/b/x")) << descriptors;
        } else {
            EXPECT_FALSE(fs::exists(root / "Library/a")) << descriptors << ": " << ran.lastLine();
            EXPECT_FALSE(fs::is_symlink(root / "Library/l")) << descriptors;
            // What the installer could not clear away itself, it clears away when it runs next.
            EXPECT_EQ(root.install(package).status, 0) << descriptors;
            EXPECT_FALSE(root.hasStage()) << descriptors;
            EXPECT_FALSE(fs::exists(root / std::string(Stage::kTrash))) << descriptors;
        }
    }
    EXPECT_GT(successes, 5);
}

} // namespace kyb::macroot
