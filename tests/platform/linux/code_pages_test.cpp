#include "platform/code_pages.h"

#include <gtest/gtest.h>

namespace kyb {
namespace {

TEST(CodePages, SpellsJohab) {
    EXPECT_EQ(fromCodePage(1361, "\x88"
                                 "a\x90"
                                 "a\x94"
                                 "a!"),
              u"가나다!");
    EXPECT_EQ(fromCodePage(1361, "\x88"
                                 "a\x90"),
              u"가\uFFFD");
    EXPECT_EQ(fromCodePage(1361, "\x90 \x88"
                                 "a"),
              u"\uFFFD 가");
    EXPECT_EQ(fromCodePage(1361, "\\\x90\x61\\"), u"\\나\\");
    EXPECT_EQ(fromCodePage(1361, "a"), u"a");
}

TEST(CodePages, TakesARelativeForAPageWithoutATable) {
    EXPECT_EQ(fromCodePage(708, "\xE5\xD1\xCD\xC8\xC7"), u"مرحبا");
    EXPECT_EQ(fromCodePage(10001, "\x93\xFA\x96{"), u"日本");
    EXPECT_EQ(fromCodePage(10002, "\xA4\xA4\xA4\xE5"), u"中文");
    EXPECT_EQ(fromCodePage(10003, "\xC7\xD1"), u"한");
    EXPECT_EQ(fromCodePage(10004, "\xE5\xD1\xCD\xC8\xC7"), u"مرحبا");
    EXPECT_EQ(fromCodePage(10005, "\xF9\xEC\xE5\xED"), u"שלום");
    EXPECT_EQ(fromCodePage(10008, "\xD6\xD0\xCE\xC4"), u"中文");
    EXPECT_EQ(fromCodePage(10017, "\xEC\xE8\xF0"), u"мир");
    EXPECT_EQ(fromCodePage(10021, "\xE4\xB7\xC2"), u"ไทย");
    EXPECT_EQ(fromCodePage(20932, "\xC6\xFC\xCB\xDC"), u"日本");
    EXPECT_EQ(fromCodePage(20936, "\xD6\xD0\xCE\xC4"), u"中文");
    EXPECT_EQ(fromCodePage(20949, "\xC7\xD1"), u"한");
    EXPECT_EQ(fromCodePage(28591, "caf\xE9"), u"café");
    EXPECT_EQ(fromCodePage(28601, "\xE4\xB7\xC2"), u"ไทย");
    EXPECT_EQ(fromCodePage(38598, "\xF9\xEC\xE5\xED"), u"שלום");
    EXPECT_EQ(fromCodePage(51932, "\xC6\xFC\xCB\xDC"), u"日本");
    EXPECT_EQ(fromCodePage(51936, "\xD6\xD0\xCE\xC4"), u"中文");
}

} // namespace
} // namespace kyb
