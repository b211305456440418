#include "mac_root.h"
#include "plist_commands.h"
#include "support/property_lists.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace kyb::macroot {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string kProgram = builtProgram("PlistBuddy");

/// A property list with the one entry IsPrivateInstall, "YES".
class PlistBuddyRun : public testing::TestWithParam<PlistFormat> {
protected:
    PlistBuddyRun() : file_((folder_ / "a b.plist").string()) {
        PlistEditor editor{Plist(plist_new_dict())};
        editor.run("Add :IsPrivateInstall string YES");
        writeText(file_, plistToText(editor.root(), GetParam()));
        fs::permissions(file_, fs::perms(0640));
    }

    Ran run(const std::vector<std::string> &commands) const {
        std::vector<std::string> words{kProgram};
        for (const std::string &command : commands) {
            words.insert(words.end(), {"-c", command});
        }
        words.push_back(file_);
        return runProgram(words);
    }

    TempFolder folder_;
    std::string file_;
};

} // namespace

TEST_P(PlistBuddyRun, SetsTheEntryAndKeepsFormatModeAndOwner) {
    struct stat before = {};
    struct stat after = {};
    ASSERT_EQ(stat(file_.c_str(), &before), 0);
    const Ran ran = run({"Set :IsPrivateInstall NO"});
    ASSERT_EQ(stat(file_.c_str(), &after), 0);
    EXPECT_EQ(ran.status, 0);
    EXPECT_TRUE(ran.lines.empty());
    EXPECT_EQ(ran.errors, "");
    EXPECT_THAT(run({"Print :IsPrivateInstall"}).lines, ElementsAre("NO"));
    EXPECT_EQ(plistFormatOf(contentOf(file_)), GetParam());
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_NE(after.st_ino, before.st_ino) << "the file is replaced in one step, not written over";
}

TEST_P(PlistBuddyRun, TakesTheCommandAsTheShellJoinsIt) {
    const std::string line = "'" + kProgram + "' -c \"Set :IsPrivateInstall \"NO\"\" \"" + file_ + "\"";
    EXPECT_EQ(runProgram({"/bin/sh", "-c", line}).status, 0);
    EXPECT_THAT(run({"Print :IsPrivateInstall"}).lines, ElementsAre("NO"));
}

TEST_P(PlistBuddyRun, RunsCommandsInTheirOrder) {
    const Ran ran = run({"Add :Number integer 3", "Print :Number", "Delete :Number", "Print"});
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.lines, ElementsAre("3", "Dict {", "    IsPrivateInstall = YES", "}"));
}

TEST_P(PlistBuddyRun, FailsForAnEntryThatIsNotThere) {
    const std::string before = contentOf(file_);
    const Ran ran = run({"Set :Missing YES"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.errors, "Set: Entry, \":Missing\", Does Not Exist\n");
    EXPECT_EQ(contentOf(file_), before);
}

TEST_P(PlistBuddyRun, SavesWhatSucceededBesideWhatFailed) {
    EXPECT_EQ(run({"Set :Missing YES", "Set :IsPrivateInstall NO"}).status, 1);
    EXPECT_THAT(run({"Print :IsPrivateInstall"}).lines, ElementsAre("NO"));
}

TEST_P(PlistBuddyRun, WritesTheFileBehindALink) {
    const std::string link = (folder_ / "link").string();
    fs::create_symlink(file_, link);
    EXPECT_EQ(runProgram({kProgram, "-c", "Set :IsPrivateInstall NO", link}).status, 0);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_THAT(run({"Print :IsPrivateInstall"}).lines, ElementsAre("NO"));
}

TEST_P(PlistBuddyRun, LeavesNothingElseInTheFolder) {
    ASSERT_EQ(run({"Set :IsPrivateInstall NO", "Save", "Set :IsPrivateInstall YES"}).status, 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), fs::directory_iterator()), 1);
}

INSTANTIATE_TEST_SUITE_P(Formats, PlistBuddyRun, testing::Values(PlistFormat::Xml, PlistFormat::Binary),
                         [](const auto &formats) { return formats.param == PlistFormat::Xml ? "Xml" : "Binary"; });

TEST(PlistBuddyFile, IsMadeByAddAndNotBySet) {
    const TempFolder folder;
    const std::string file = (folder / "new.plist").string();
    const Ran set = runProgram({kProgram, "-c", "Set :Key 1", file});
    EXPECT_EQ(set.status, 1);
    EXPECT_THAT(set.lines, ElementsAre("File Doesn't Exist, Will Create: " + file));
    EXPECT_EQ(set.errors, "Set: Entry, \":Key\", Does Not Exist\n");
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(runProgram({kProgram, "-c", "Add :Key string 1", file}).status, 0);
    EXPECT_THAT(runProgram({kProgram, "-c", "Print :Key", file}).lines, ElementsAre("1"));
    EXPECT_THAT(contentOf(file), testing::StartsWith("<?xml"));
}

TEST(PlistBuddyFile, StaysAsItIsWhenItIsNoPropertyList) {
    const TempFolder folder;
    const std::string file = (folder / "a.plist").string();
    for (const char *const text : {"", "hello", "bplist00\x01"}) {
        writeText(file, text);
        const Ran ran = runProgram({kProgram, "-c", "Add :Key string 1", file});
        EXPECT_EQ(ran.status, 1) << text;
        EXPECT_EQ(ran.errors, "Error Reading File: " + file + "\n") << text;
        EXPECT_EQ(contentOf(file), text);
    }
}

TEST(PlistBuddyFile, CannotHoldTheProgramWhateverItHolds) {
    using test::array;
    using test::binaryList;
    const TempFolder folder;
    const std::string file = (folder / "a.plist").string();
    std::vector<std::string> doubling;
    for (std::uint64_t i = 0; i < 40; ++i) {
        doubling.push_back(array({i + 1, i + 1}));
    }
    doubling.emplace_back("\x51x");
    const std::pair<const char *, std::string> rows[] = {
        {"a circle", binaryList({array({1}), array({0, 0})})},
        {"deep", test::nestedList(100'000)},
        {"deep XML", test::nestedXml(1'000'000)},
        {"less deep XML", test::nestedXml(9'000)},
        {"doubling", binaryList(doubling)},
        {"a huge count", binaryList({std::string("\xaf\x13\x7f\xff\xff\xff\xff\xff\xff\xff", 10)})},
        {"a reference to nothing", binaryList({array({7})})},
        {"long", test::nestedXml(1) + std::string(17 << 20, ' ')},
    };
    for (const auto &[name, content] : rows) {
        writeText(file, content);
        const char *const line = "ulimit -t 5; exec \"$0\" -c Print -c \"Add :0 string x\" \"$1\"";
        const Ran ran = runProgram({"/bin/sh", "-c", line, kProgram, file});
        EXPECT_EQ(ran.status, 1) << name;
        EXPECT_EQ(ran.errors, "Error Reading File: " + file + "\n") << name;
        EXPECT_EQ(contentOf(file), content) << name;
    }
}

TEST(PlistBuddyFile, IsRefusedWhenItIsNoRegularFile) {
    const TempFolder folder;
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
    fs::create_symlink("fifo", folder / "link to fifo");
    fs::create_symlink("circle", folder / "circle");
    fs::create_symlink("/dev/zero", folder / "device");
    fs::create_directory(folder / "folder");
    for (const char *const name : {"fifo", "link to fifo", "circle", "device", "folder"}) {
        const std::string file = (folder / name).string();
        const Ran ran = runProgram({kProgram, "-c", "Print", "-c", "Add :Key string 1", file});
        EXPECT_EQ(ran.status, 1) << name;
        EXPECT_EQ(ran.errors, "Error Reading File: " + file + "\n") << name;
    }
    EXPECT_TRUE(fs::is_fifo(folder / "fifo") && fs::is_symlink(folder / "circle") && fs::is_empty(folder / "folder"));
}

TEST(PlistBuddyFile, StaysAsItIsWhenTheTextWouldBreakIt) {
    const TempFolder folder;
    const std::string file = (folder / "a.plist").string();
    const std::string content = "<plist version=\"1.0\"><dict><key>a</key><string>1</string></dict></plist>";
    writeText(file, content);
    const Ran ran = runProgram({kProgram, "-c", "Set :a x\x07y", file});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.errors, "Unrecognized String Format: Control Characters or No UTF-8\n");
    EXPECT_EQ(contentOf(file), content);

    const std::string broken = "<plist version=\"1.0\"><dict><key>a</key><string>&#7;</string></dict></plist>";
    writeText(file, broken);
    EXPECT_EQ(runProgram({kProgram, "-c", "Add :b string x", file}).status, 1) << "what is there would be no XML";
    EXPECT_EQ(contentOf(file), broken);
    EXPECT_EQ(runProgram({kProgram, "-c", "Set :a x", file}).status, 0);
}

TEST(PlistBuddyFile, IsShownAtOnceHoweverManyItemsItHolds) {
    const TempFolder folder;
    const std::string file = (folder / "a.plist").string();
    constexpr int items = 300'000;
    std::string many("\xaf\x12", 2);
    test::appendNumber(many, items, 4);
    for (int i = 0; i < items; ++i) {
        test::appendNumber(many, 1, test::kReferenceBytes);
    }
    writeText(file, test::binaryList({many, "\x51x"}));
    const Ran ran = runProgram({"/bin/sh", "-c", "ulimit -t 10; exec \"$0\" -c Print \"$1\"", kProgram, file});
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.lines.size(), items + 2U);
}

TEST(PlistBuddyFile, IsReportedWhenItCannotBeWritten) {
    const TempFolder folder;
    const Ran ran = runProgram({kProgram, "-c", "Add :Key string 1", (folder / "missing/a.plist").string()});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.errors, HasSubstr("Error Writing File"));
}

TEST(PlistBuddyFile, StaysAsItIsWhenItWouldHaveTooManyKeys) {
    const TempFolder folder;
    const std::string file = (folder / "a.plist").string();
    std::string keys;
    for (int i = 0; i < 10'000; ++i) {
        keys += "<key>k" + std::to_string(i) + "</key><true/>";
    }
    const std::string content = "<plist version=\"1.0\"><dict>" + keys + "</dict></plist>";
    writeText(file, content);
    const Ran ran = runProgram({kProgram, "-c", "Add :more bool true", file});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.errors, "Error Writing File: " + file +
                              ": nested too deep, with more than 10,000 keys, or with text that XML cannot hold\n");
    EXPECT_TRUE(contentOf(file) == content);
    EXPECT_EQ(runProgram({kProgram, "-c", "Set :k9 false", file}).status, 0);
}

TEST(PlistBuddyFile, StaysAsItIsBeyondALimitOnTheSizeOfFiles) {
    const TempFolder folder;
    const std::string file = (folder / "a.plist").string();
    const std::string content = "<plist version=\"1.0\"><array>" + std::string(1000, ' ') + "</array></plist>";
    writeText(file, content);
    const std::string add = "Add :0 string " + std::string(1000, 'x');
    const Ran ran = runProgram({"/bin/sh", "-c", "ulimit -f 1; exec \"$@\"", "sh", kProgram, "-c", add, file});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.errors, "Error Writing File: " + file + ": File too large\n");
    EXPECT_EQ(contentOf(file), content);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
}

TEST(PlistBuddyArguments, AreExplained) {
    const std::vector<std::vector<std::string>> rows = {{}, {"-c"}, {"-c", "Print"}, {"a.plist"}, {"-x", "a.plist"}};
    for (std::vector<std::string> words : rows) {
        words.insert(words.begin(), kProgram);
        const Ran ran = runProgram(words);
        EXPECT_EQ(ran.status, 1);
        EXPECT_THAT(ran.errors, testing::StartsWith("Usage: PlistBuddy "));
    }
}

} // namespace kyb::macroot
