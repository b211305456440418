#include "package_writer.h"

#include "archive_handle.h"
#include "posix/file_io.h"
#include "support/RootFolder.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <gmock/gmock.h>
#include <stdexcept>
#include <sys/stat.h>

namespace kyb::macroot {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using Lines = std::vector<std::string>;

/// What \p action throws; "none" when it throws nothing.
template <typename Action> std::string problemOf(Action action) {
    try {
        action();
    } catch (const std::runtime_error &error) {
        return error.what();
    }
    return "none";
}

std::string dataOf(archive *reader) {
    std::string data;
    const void *block = nullptr;
    std::size_t size = 0;
    for (la_int64_t place = 0; archive_read_data_block(reader, &block, &size, &place) == ARCHIVE_OK;) {
        data.append(static_cast<const char *>(block), size); // NB: of a xar archive the place is not that in the member
    }
    return data;
}

/// What gzip has packed into the file.
std::string unzipped(int file) {
    const ReadArchive reader = newReadArchive();
    archive_read_support_filter_gzip(reader.get());
    archive_read_support_format_raw(reader.get());
    lseek(file, 0, SEEK_SET);
    archive_entry *entry = nullptr;
    EXPECT_EQ(archive_read_open_fd(reader.get(), file, 4096), ARCHIVE_OK);
    EXPECT_EQ(archive_read_next_header(reader.get(), &entry), ARCHIVE_OK);
    return dataOf(reader.get());
}

/// The items of a cpio archive: inode, mode, owner, group, links, name and content. They are of now.
Lines itemsOf(const std::string &cpio) {
    Lines items;
    for (std::size_t at = 0; at < cpio.size();) {
        const auto number = [&](std::size_t place, std::size_t digits) {
            return std::stoul(cpio.substr(at + place, digits), nullptr, 8);
        };
        EXPECT_EQ(cpio.substr(at, 6), "070707");
        const std::string name = cpio.substr(at + 76, number(59, 6) - 1);
        const std::string content = cpio.substr(at + 77 + name.size(), number(65, 11));
        std::array<char, 100> head{};
        std::snprintf(head.data(), head.size(), "%lu %lo %lu:%lu %lu ", number(12, 6), number(18, 6), number(24, 6),
                      number(30, 6), number(36, 6));
        items.push_back(head.data() + name + (content.empty() ? "" : ": " + content));
        if (name == "TRAILER!!!") {
            return items;
        }
        EXPECT_NEAR(static_cast<double>(number(48, 11)), static_cast<double>(std::time(nullptr)), 60);
        at += 77 + name.size() + content.size();
    }
    ADD_FAILURE() << "no end";
    return items;
}

/// The items as a bill of materials gets them: mode, size, checksum, path and target.
Lines billOf(const PayloadWriter &writer) {
    Lines bill;
    for (const BomItem &item : writer.items()) {
        std::array<char, 100> head{};
        std::snprintf(head.data(), head.size(), "%o %u %u ", item.mode, item.sizeBytes, item.checksum.value());
        bill.push_back(head.data() + item.path + (item.linkTarget.empty() ? "" : " -> " + item.linkTarget));
        EXPECT_NEAR(static_cast<double>(item.modified), static_cast<double>(std::time(nullptr)), 60);
    }
    return bill;
}

TEST(PayloadWriter, WritesItemsAsTheyAreGiven) {
    PayloadWriter writer;
    writer.addFolder(".");
    writer.addFolder("./closed", 0700);
    writer.addFile("./file", "content");
    writer.addFile("./program", "", 0755);
    writer.addSymbolicLink("./link", "to/file");
    writer.addLinkedFiles("./a", "./b", "twice");
    writer.addLinkedFiles("./c", "./d", "more");
    EXPECT_THAT(billOf(writer),
                ElementsAre("40755 0 4294967295 .", "40700 0 4294967295 ./closed", "100644 7 1579075118 ./file",
                            "100755 0 4294967295 ./program", "120755 7 3957416502 ./link -> to/file",
                            "100644 5 1349581934 ./a", "100644 5 1349581934 ./b", "100644 4 3121300062 ./c",
                            "100644 4 3121300062 ./d"));
    EXPECT_THAT(itemsOf(unzipped(writer.finish().get())),
                ElementsAre("1 40755 0:0 1 .", "2 40700 0:0 1 ./closed", "3 100644 0:0 1 ./file: content",
                            "4 100755 0:0 1 ./program", "5 120755 0:0 1 ./link: to/file", "6 100644 0:0 2 ./a: twice",
                            "6 100644 0:0 2 ./b: twice", "7 100644 0:0 2 ./c: more", "7 100644 0:0 2 ./d: more",
                            "0 0 0:0 1 TRAILER!!!"));
}

TEST(PayloadWriter, WritesATreeInTheOrderOfItsNames) {
    const test::TempFolder folder;
    fs::create_directories(folder / "tree/folder");
    test::writeText(folder / "tree/folder/inner", "inner");
    test::writeText(folder / "tree/another", "another");
    test::writeText(folder / "tree/program", "program");
    fs::permissions(folder / "tree/program", fs::perms(0500));
    fs::permissions(folder / "tree/another", fs::perms(0666));
    fs::create_symlink("nowhere", folder / "tree/link");
    PayloadWriter writer;
    writer.addTree(folder / "tree", "./Some");
    EXPECT_THAT(itemsOf(unzipped(writer.finish().get())),
                ElementsAre("1 40755 0:0 1 ./Some", "2 100644 0:0 1 ./Some/another: another",
                            "3 40755 0:0 1 ./Some/folder", "4 100644 0:0 1 ./Some/folder/inner: inner",
                            "5 120755 0:0 1 ./Some/link: nowhere", "6 100755 0:0 1 ./Some/program: program",
                            "0 0 0:0 1 TRAILER!!!"));
}

TEST(PayloadWriter, WritesRandomBytesThatAreTheSameEachTime) {
    for (const std::size_t size : {0U, 1U, 65'536U, 65'537U, 200'001U}) {
        PayloadWriter writer;
        writer.addRandomFile("./random", static_cast<std::int64_t>(size));
        PayloadWriter again;
        again.addRandomFile("./random", static_cast<std::int64_t>(size));
        EXPECT_EQ(billOf(writer), billOf(again));
        EXPECT_EQ(writer.items().at(0).sizeBytes, size);
        const UniqueFd file = writer.finish();
        const std::string head = "1 100644 0:0 1 ./random";
        EXPECT_EQ(itemsOf(unzipped(file.get())).at(0).size(), head.size() + (size == 0 ? 0 : 2 + size));
        struct stat info {};
        EXPECT_EQ(fstat(file.get(), &info), 0);
        EXPECT_GE(static_cast<std::size_t>(info.st_size), size) << "they do not compress";
    }
}

TEST(PayloadWriter, SaysWhatItCannotTake) {
    const test::TempFolder folder;
    const std::string missing = folder / "missing";
    const std::string large = folder / "large";
    test::writeText(large, "");
    ASSERT_EQ(truncate(large.c_str(), off_t{1} << 32), 0);
    PayloadWriter writer;
    EXPECT_EQ(problemOf([&] { writer.addFileFrom(missing, "./a", 0644); }), missing + " is no file that can be read");
    EXPECT_EQ(problemOf([&] { writer.addFileFrom(large, "./a", 0644); }), "./a is too large: it has more than 4 GiB");
    EXPECT_TRUE(writer.items().empty());
}

/// The members of a flat package: kind, mode, name and content.
Lines membersOf(const std::string &path) {
    const ReadArchive reader = newReadArchive();
    archive_read_support_format_xar(reader.get());
    EXPECT_EQ(archive_read_open_filename(reader.get(), path.c_str(), 4096), ARCHIVE_OK);
    Lines members;
    for (archive_entry *entry = nullptr; archive_read_next_header(reader.get(), &entry) == ARCHIVE_OK;) {
        std::array<char, 20> mode{};
        std::snprintf(mode.data(), mode.size(), "%o ", archive_entry_mode(entry));
        const std::string data = dataOf(reader.get());
        members.push_back(mode.data() + entryPath(entry) + ": " +
                          (data.size() < 100 ? data : std::to_string(data.size()) + " bytes"));
    }
    return members;
}

TEST(FlatPackage, HoldsItsMembersInTheirOrderAndFoldersOnce) {
    const test::TempFolder folder;
    const std::string path = folder / "a.pkg";
    const UniqueFd file = unnamedFile();
    const std::string content(100'000, 'x');
    ASSERT_TRUE(writeAll(file.get(), content));
    writeFlatPackage(path, {{"Distribution", "text"},
                            {"a.pkg/Payload", "", file.get()},
                            {"a.pkg/Empty", ""},
                            {"b.pkg/PackageInfo", "info"}});
    EXPECT_EQ(membersOf(path),
              Lines({"100644 Distribution: text", "40755 a.pkg: ", "100644 a.pkg/Payload: 100000 bytes",
                     "100644 a.pkg/Empty: ", "40755 b.pkg: ", "100644 b.pkg/PackageInfo: info"}));
    EXPECT_TRUE(test::contentOf(path).ends_with("text" + content + "info")) << "as they are, and nothing behind them";
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
}

TEST(FlatPackage, TakesTheEarlierOnesPlaceOrLeavesIt) {
    const test::TempFolder folder;
    const std::string path = folder / "a.pkg";
    test::writeText(path, "earlier");
    const UniqueFd unreadable(open("/dev/null", O_WRONLY));
    EXPECT_NE(problemOf([&] { writeFlatPackage(path, {{"a", "", 1000}}); }), "none");
    EXPECT_EQ(test::contentOf(path), "earlier");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
    writeFlatPackage(path, {{"a", "b"}});
    EXPECT_THAT(membersOf(path), ElementsAre("100644 a: b"));
    EXPECT_EQ(problemOf([&] {
                  writeFlatPackage(folder.path(), {{"a", "b"}});
              }),
              folder.path().string() + " is there already and no regular file");
}

TEST(PackageDescription, IsWritten) {
    std::vector<BomItem> payload(2);
    payload[0].sizeBytes = 1024;
    payload[1].sizeBytes = 1;
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
    EXPECT_EQ(packageInfoText({.identifier = "com.example.a", .version = "1.2 <3>", .payload = payload}),
              declaration + R"(<pkg-info format-version="2" identifier="com.example.a" version="1.2 &lt;3>" )"
                            R"(install-location="/" auth="root" overwrite-permissions="false" relocatable="false">
    <payload installKBytes="2" numberOfFiles="2" />
    <scripts>
        <preinstall file="./preinstall" />
        <postinstall file="./postinstall" />
    </scripts>
</pkg-info>
)");
    EXPECT_EQ(packageInfoText(
                  {.identifier = "b", .version = "1", .installLocation = "/Library", .payload = {}, .scripts = {}}),
              declaration + R"(<pkg-info format-version="2" identifier="b" version="1" install-location="/Library" )"
                            R"(auth="root" overwrite-permissions="false" relocatable="false">
    <payload installKBytes="0" numberOfFiles="0" />
    <scripts />
</pkg-info>
)");
    EXPECT_EQ(distributionText("A & B", "com.example.a", "1", "a 100% b.pkg"),
              declaration + R"(<installer-gui-script minSpecVersion="1">
    <title>A &amp; B</title>
    <choice id="default">
        <pkg-ref id="com.example.a" />
    </choice>
    <choices-outline>
        <line choice="default" />
    </choices-outline>
    <pkg-ref id="com.example.a" version="1">#a%20100%25%20b.pkg</pkg-ref>
</installer-gui-script>
)");
}

} // namespace
} // namespace kyb::macroot
