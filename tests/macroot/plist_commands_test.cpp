#include "plist_commands.h"

#include "plist_value.h"
#include "support/property_lists.h"

#include <gmock/gmock.h>

namespace kyb::macroot {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char *kSampleText = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
    <key>Text</key><string>YES</string>
    <key>Flag</key><false/>
    <key>Number</key><integer>7</integer>
    <key>Share</key><real>0.5</real>
    <key>When</key><date>2020-01-02T03:04:05Z</date>
    <key>Outer</key><dict>
        <key>List</key><array><string>a</string><dict><key>Deep</key><string>d</string></dict></array>
    </dict>
</dict>
</plist>)";

PlistEditor sample() {
    return PlistEditor(plistFromText(kSampleText));
}

std::string printed(PlistEditor &editor, const std::string &entry) {
    return editor.run("Print " + entry).text;
}

} // namespace

TEST(PlistCommands, SplitACommandIntoItsWords) {
    struct Row {
        const char *text;
        const char *name;
        const char *entry;
        const char *arguments;
    };
    const Row rows[] = {
        {"Set :IsPrivateInstall YES", "Set", ":IsPrivateInstall", "YES"},
        {"  Set   :A   b  c", "Set", ":A", "b  c"},
        {"Set ':A b' \"c d\"", "Set", ":A b", "c d"},
        {"Set :A\\ b 'c'", "Set", ":A b", "c"},
        {"Print", "Print", "", ""},
        {"", "", "", ""},
    };
    for (const Row &row : rows) {
        const PlistCommand command = parsePlistCommand(row.text);
        EXPECT_EQ(command.name, row.name) << row.text;
        EXPECT_EQ(command.entry, row.entry) << row.text;
        EXPECT_EQ(command.arguments, row.arguments) << row.text;
    }
}

TEST(PlistCommands, SplitAnEntryAtItsColons) {
    EXPECT_THAT(entryNames(":A:B:0"), ElementsAre("A", "B", "0"));
    EXPECT_THAT(entryNames("A:B"), ElementsAre("A", "B"));
    EXPECT_THAT(entryNames(":A:"), ElementsAre("A", ""));
    EXPECT_THAT(entryNames(":"), ElementsAre());
    EXPECT_THAT(entryNames(""), ElementsAre());
}

TEST(PlistCommands, SetAndPrintWhatTheyShould) {
    struct Row {
        const char *command;
        const char *entry;
        const char *printed;
    };
    const Row rows[] = {
        {"Set :Text NO", ":Text", "NO"},
        {"Set Text NO", "Text", "NO"},
        {"set :Text two words", ":Text", "two words"},
        {"Set :Text", ":Text", ""},
        {"Set :Text \t\nGr\u00fc\u00dfe \u20ac \U0001f5a8", ":Text", "\t\nGr\u00fc\u00dfe \u20ac \U0001f5a8"},
        {"Set :Flag YES", ":Flag", "true"},
        {"Set :Flag true", ":Flag", "true"},
        {"Set :Flag no", ":Flag", "false"},
        {"Set :Number -12", ":Number", "-12"},
        {"Set :Share 2.25", ":Share", "2.250000"},
        {"Set :When 2026-11-21T08:00:00Z", ":When", "Sat Nov 21 08:00:00 UTC 2026"},
        {"Set :When Thu Jan 02 03:04:06 UTC 2020", ":When", "Thu Jan 02 03:04:06 UTC 2020"},
        {"Set :Outer:List:0 b", ":Outer:List:0", "b"},
        {"Set :Outer:List:1:Deep e", ":Outer:List:1:Deep", "e"},
        {"Add :New string fresh text", ":New", "fresh text"},
        {"Add :New bool YES", ":New", "true"},
        {"Add :New dict", ":New", "Dict {\n}"},
        {"Add :Outer:List:0 string first", ":Outer:List",
         "Array {\n    first\n    a\n    Dict {\n        Deep = d\n    }\n}"},
        {"Add :Outer:List: string last", ":Outer:List:2", "last"},
    };
    for (const Row &row : rows) {
        PlistEditor editor = sample();
        const auto outcome = editor.run(row.command);
        EXPECT_TRUE(outcome.succeeded) << row.command << ": " << outcome.text;
        EXPECT_EQ(outcome.text, "") << row.command;
        EXPECT_TRUE(editor.isChanged()) << row.command;
        EXPECT_EQ(printed(editor, row.entry), row.printed) << row.command;
    }
}

TEST(PlistCommands, FailWithAReasonAndChangeNothing) {
    const std::pair<const char *, const char *> rows[] = {
        {"Set :Missing 1", "Set: Entry, \":Missing\", Does Not Exist"},
        {"Set :Text:Deeper 1", "Set: Entry, \":Text:Deeper\", Does Not Exist"},
        {"Set :Outer:List:9 1", "Set: Entry, \":Outer:List:9\", Does Not Exist"},
        {"Set :Outer:List:x 1", "Set: Entry, \":Outer:List:x\", Does Not Exist"},
        {"Set :Outer 1", "Set: Cannot Perform Set On Containers"},
        {"Set :Flag perhaps", "Unrecognized Boolean Format"},
        {"Set :Number 1x", "Unrecognized Integer Format"},
        {"Set :Number 99999999999999999999", "Unrecognized Integer Format"},
        {"Set :Share one", "Unrecognized Real Format"},
        {"Set :When soon", "Unrecognized Date Format"},
        {"Print :Missing", "Print: Entry, \":Missing\", Does Not Exist"},
        {"Delete :Missing", "Delete: Entry, \":Missing\", Does Not Exist"},
        {"Add :Text string x", "Add: \":Text\" Entry Already Exists"},
        {"Add :New thing x", "Unrecognized Type: thing"},
        {"Add :Missing:New string x", "Add: Can't Add Entry, \":Missing:New\", to Parent"},
        {"Add :Text:New string x", "Add: Can't Add Entry, \":Text:New\", to Parent"},
        {"Add : string x", "Add: \":\" Entry Already Exists"},
        {"Delete :", "Delete: Entry, \":\", Does Not Exist"},
        {"Set :Text a\x01z", "Unrecognized String Format: Control Characters or No UTF-8"},
        {"Set :Text a\rz", "Unrecognized String Format: Control Characters or No UTF-8"},
        {"Set :Text \xe9t\xe9", "Unrecognized String Format: Control Characters or No UTF-8"},
        {"Set :Text \xc0\xaf", "Unrecognized String Format: Control Characters or No UTF-8"},
        {"Set :Text \xed\xa0\x80", "Unrecognized String Format: Control Characters or No UTF-8"},
        {"Set :Text \xef\xbf\xbf", "Unrecognized String Format: Control Characters or No UTF-8"},
        {"Set :Text \xf4\x90\x80\x80", "Unrecognized String Format: Control Characters or No UTF-8"},
        {"Set :Text \xf0\x9f\x96", "Unrecognized String Format: Control Characters or No UTF-8"},
        {"Add :New string \x1b[2J", "Unrecognized String Format: Control Characters or No UTF-8"},
        {"Add :New\x02 string x", "Unrecognized Key Format: Control Characters or No UTF-8"},
        {"Set :Share nan", "Unrecognized Real Format"},
        {"Set :Share inf", "Unrecognized Real Format"},
        {"Set :When 2200-01-01T00:00:00Z", "Unrecognized Date Format"},
        {"Frobnicate :Text", "Unrecognized Command"},
        {"", "Unrecognized Command"},
    };
    const std::string before = printedNode(sample().root());
    for (const auto &[command, text] : rows) {
        PlistEditor editor = sample();
        const auto outcome = editor.run(command);
        EXPECT_FALSE(outcome.succeeded) << command;
        EXPECT_EQ(outcome.text, text) << command;
        EXPECT_FALSE(editor.isChanged()) << command;
        EXPECT_EQ(printedNode(editor.root()), before) << command;
    }
}

TEST(PlistCommands, AddAtTheEndOfAnArray) {
    PlistEditor editor = sample();
    EXPECT_TRUE(editor.run("Add :Outer:List:99 string last").succeeded);
    EXPECT_EQ(printed(editor, ":Outer:List:2"), "last");
}

TEST(PlistCommands, DeleteFromDictionariesAndArrays) {
    PlistEditor editor = sample();
    EXPECT_TRUE(editor.run("Delete :Text").succeeded);
    EXPECT_TRUE(editor.run("Delete :Outer:List:0").succeeded);
    EXPECT_FALSE(editor.run("Print :Text").succeeded);
    EXPECT_EQ(printed(editor, ":Outer:List"), "Array {\n    Dict {\n        Deep = d\n    }\n}");
}

TEST(PlistCommands, SetKeepsTheTypeOfAnEntry) {
    PlistEditor editor = sample();
    for (const char *const command : {"Set :Text 5", "Set :Flag YES", "Set :Number 5", "Set :Share 5"}) {
        ASSERT_TRUE(editor.run(command).succeeded) << command;
    }
    const std::string xml = plistToText(editor.root(), PlistFormat::Xml);
    EXPECT_THAT(xml, HasSubstr("<string>5</string>"));
    EXPECT_THAT(xml, HasSubstr("<true/>"));
    EXPECT_THAT(xml, HasSubstr("<integer>5</integer>"));
    EXPECT_THAT(xml, HasSubstr("<real>5"));
}

TEST(PlistDocument, GoesThroughBothFormats) {
    const Plist root = plistFromText(kSampleText);
    const std::string text = printedNode(root.get());
    for (const PlistFormat format : {PlistFormat::Xml, PlistFormat::Binary}) {
        const std::string written = plistToText(root.get(), format);
        EXPECT_EQ(plistFormatOf(written), format);
        const Plist again = plistFromText(written);
        ASSERT_TRUE(again);
        EXPECT_EQ(printedNode(again.get()), text);
    }
}

TEST(PlistCommands, SetARootThatIsNoContainer) {
    PlistEditor editor(plistFromText("<plist version=\"1.0\"><string>old</string></plist>"));
    EXPECT_TRUE(editor.run("Set : new").succeeded);
    EXPECT_EQ(printed(editor, ":"), "new");
}

TEST(PlistDocument, IsWrittenOnlyWhenItIsReadAsTheSameAgain) {
    // libplist reads what XML does not allow; written, it would be no XML.
    for (const char *const text : {"a&#1;z", "&#xD800;", "&#xFFFF;"}) {
        const Plist root = plistFromText("<plist version=\"1.0\"><string>" + std::string(text) + "</string></plist>");
        ASSERT_TRUE(root) << text;
        EXPECT_EQ(plistToText(root.get(), PlistFormat::Xml), "") << text;
    }
    const Plist real =
        plistFromText("<plist version=\"1.0\"><array><real>0.9999999</real><real>1e300</real></array></plist>");
    EXPECT_NE(plistToText(real.get(), PlistFormat::Xml), "");
    const Plist control = plistFromText(test::binaryList({"Sa\x01z"}));
    EXPECT_NE(plistToText(control.get(), PlistFormat::Binary), "") << "a binary list may hold it";
}

TEST(PlistDocument, WritesAYearWithFourDigits) {
    const std::string text = "<array><date>0001-02-03T04:05:06Z</date><date>0999-12-31T23:59:59Z</date>"
                             "<string>&lt;date>1-</string><date>1000-01-01T00:00:00Z</date></array>";
    const std::string xml =
        plistToText(plistFromText("<plist version=\"1.0\">" + text + "</plist>").get(), PlistFormat::Xml);
    for (const char *const date : {"0001-02-03T04:05:06Z", "0999-12-31T23:59:59Z", "1000-01-01T00:00:00Z"}) {
        EXPECT_THAT(xml, HasSubstr("<date>" + std::string(date) + "</date>"));
    }
    EXPECT_THAT(xml, HasSubstr("date&gt;1-</string>"));
}

TEST(PlistDocument, WritesAZeroWithoutItsSign) {
    const Plist root =
        plistFromText("<plist version=\"1.0\"><array><real>-0.0</real><real>-1.5</real></array></plist>");
    const std::string xml = plistToText(root.get(), PlistFormat::Xml);
    EXPECT_THAT(xml, HasSubstr("<real>0.0</real>"));
    EXPECT_THAT(xml, HasSubstr("<real>-1.5</real>"));
}

TEST(PlistDocument, IsEmptyForXmlThatIsNone) {
    for (const std::string &text : {std::string("a\x01z"), std::string("a\0z", 3), std::string("caf\xe9")}) {
        EXPECT_FALSE(plistFromText("<plist version=\"1.0\"><string>" + text + "</string></plist>")) << text;
    }
    EXPECT_TRUE(plistFromText("<plist version=\"1.0\">\r\n<string>line\r\nend</string></plist>"));
}

TEST(PlistDocument, IsEmptyForWhatIsNestedTooDeep) {
    EXPECT_TRUE(plistFromText(test::nestedXml(64)));
    EXPECT_FALSE(plistFromText(test::nestedXml(66)));
    EXPECT_FALSE(plistFromText(test::nestedXml(1'000'000)));
    EXPECT_FALSE(plistFromText(test::nestedList(1000)));
}

TEST(PlistDocument, IsEmptyForWhatIsNoPropertyList) {
    for (const char *const text : {"", "hello", "bplist00", "bplist00\xff\xff\xff"}) {
        EXPECT_FALSE(plistFromText(text)) << text;
    }
}

} // namespace kyb::macroot
