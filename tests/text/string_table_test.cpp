#include "text/string_table.h"

#include <QStringEncoder>
#include <gtest/gtest.h>

namespace kyb {
namespace {

using Entries = QHash<QString, QString>;

Entries entriesOf(const char *text) {
    const StringTable table = parseStringTable(text);
    for (const StringTableError &error : table.errors) {
        ADD_FAILURE() << error.line << ": " << error.message.toStdString();
    }
    return table.entries;
}

QString valueOf(const char *quotedValue) {
    return entriesOf(QByteArray("\"key\" = ").append(quotedValue).append(";").constData()).value(QStringLiteral("key"));
}

using Problems = std::vector<std::string>;

/// In the form "2: What is wrong.".
Problems problemsOf(const StringTable &table) {
    Problems problems;
    for (const StringTableError &error : table.errors) {
        problems.push_back(std::to_string(error.line) + ": " + error.message.toStdString());
    }
    return problems;
}

TEST(StringTable, ReadsQuotedEntries) {
    EXPECT_EQ(entriesOf("\"Next\" = \"Weiter\";\n\"Back\"=\"Zur\xC3\xBC"
                        "ck\";"),
              Entries({{u"Next"_qs, u"Weiter"_qs}, {u"Back"_qs, u"Zurück"_qs}}));
}

TEST(StringTable, IsEmptyWhenThereIsNothing) {
    EXPECT_EQ(entriesOf(""), Entries());
    EXPECT_EQ(entriesOf("\n /* nothing */ // at all"), Entries());
}

TEST(StringTable, ReadsWordsWithoutQuotes) {
    EXPECT_EQ(entriesOf("NSName_1 = a-b.c/d:$;"), Entries({{u"NSName_1"_qs, u"a-b.c/d:$"_qs}}));
}

TEST(StringTable, ReadsSingleQuotes) {
    EXPECT_EQ(entriesOf("'a\"b' = 'c';"), Entries({{u"a\"b"_qs, u"c"_qs}}));
}

TEST(StringTable, LetsAKeyStandForItself) {
    EXPECT_EQ(entriesOf("\"OK\";"), Entries({{u"OK"_qs, u"OK"_qs}}));
}

TEST(StringTable, PassesOverComments) {
    EXPECT_EQ(
        entriesOf(
            "/* \"a\" = \"b\"; */ \"c\" /**/ = // so\n \"d\" /*;*/ ; // \"e\" = \"f\";\n\"g\" = \"/* h */ // i\";"),
        Entries({{u"c"_qs, u"d"_qs}, {u"g"_qs, u"/* h */ // i"_qs}}));
}

TEST(StringTable, ReadsEscapes) {
    EXPECT_EQ(valueOf(R"("a\nb\tc\rd\"e\\f\'g\qh")"), QStringLiteral("a\nb\tc\rd\"e\\f'gqh"));
    EXPECT_EQ(valueOf(R"("\a\b\f\v")"), QStringLiteral("\a\b\f\v"));
}

TEST(StringTable, ReadsUnicodeEscapes) {
    EXPECT_EQ(valueOf(R"("\U00e4\u20AC\Ud83D\uDDA8\U41z\Ux")"), QStringLiteral("ä€\U0001F5A8AzUx"));
}

TEST(StringTable, ReadsOctalEscapesInNextStepEncoding) {
    EXPECT_EQ(valueOf(R"("\101\7z\0604\331\373\261")"), QStringLiteral("A\az04äß–"));
}

TEST(StringTable, KeepsLineBreaksWithinAValue) {
    EXPECT_EQ(valueOf("\"one\ntwo\\\nthree\""), QStringLiteral("one\ntwo\nthree"));
}

TEST(StringTable, LetsTheLaterOfTwoEntriesCount) {
    EXPECT_EQ(entriesOf("a = 1; a = 2;"), Entries({{u"a"_qs, u"2"_qs}}));
}

TEST(StringTable, ReadsEachEncodingByItsMark) {
    const QString text = QStringLiteral("\"Schließen\" = \"\U0001F5A8\";");
    for (const auto encoding : {QStringConverter::Utf8, QStringConverter::Utf16LE, QStringConverter::Utf16BE}) {
        QStringEncoder encode(encoding, QStringConverter::Flag::WriteBom);
        const StringTable table = parseStringTable(encode(text));
        EXPECT_TRUE(table.errors.isEmpty());
        EXPECT_EQ(table.entries, Entries({{u"Schließen"_qs, u"\U0001F5A8"_qs}}));
    }
}

TEST(StringTable, ReportsBytesThatAreNotUtf8) {
    const StringTable table = parseStringTable("a = b;\nc = \"\xFF\";\nd = e;\n");
    EXPECT_EQ(problemsOf(table), Problems({"2: There is a byte that stands for no character."}));
    EXPECT_EQ(table.entries.value(u"d"_qs), u"e"_qs);
}

struct BrokenTable {
    const char *name;
    const char *text;
    Problems problems;
};

void PrintTo(const BrokenTable &table, std::ostream *out) {
    *out << table.name;
}

std::string nameOf(const testing::TestParamInfo<BrokenTable> &table) {
    return table.param.name;
}

class BrokenStringTable : public testing::TestWithParam<BrokenTable> {};

TEST_P(BrokenStringTable, LosesNoOtherEntry) {
    const StringTable table =
        parseStringTable(QByteArray("\"first\" = \"1\";\n").append(GetParam().text).append("\n\"last\" = \"9\";\n"));
    EXPECT_EQ(table.entries.value(u"first"_qs), u"1"_qs);
    EXPECT_EQ(table.entries.value(u"last"_qs), u"9"_qs);
    EXPECT_EQ(table.entries.size(), 2);
    EXPECT_EQ(problemsOf(table), GetParam().problems);
}

INSTANTIATE_TEST_SUITE_P(
    All, BrokenStringTable,
    testing::Values(
        BrokenTable{"NoQuoteAfterTheValue", "\"a\" = \"b;", {"2: There is \"l\" where \";\" is expected."}},
        BrokenTable{"NoQuoteBeforeTheValue", "\"a\" = b\";", {"2: There is \"\"\" where \";\" is expected."}},
        BrokenTable{"NoQuoteAfterTheKey", "\"a = \"b\";", {"2: There is \"b\" where \";\" is expected."}},
        BrokenTable{"NoQuoteBeforeTheKey", "a\" = \"b\";", {"2: There is \"\"\" where \";\" is expected."}},
        BrokenTable{"NoSemicolon", "\"a\" = \"b\"", {"2: There is \"\"\" where \";\" is expected."}},
        BrokenTable{"NoValue", "\"a\" = ;", {"2: There is \";\" where a value is expected."}},
        BrokenTable{"NoKey", "= \"b\";", {"2: There is \"=\" where a key is expected."}},
        BrokenTable{"NoEqualsSign", "\"a\" \"b\";", {"2: There is \"\"\" where \";\" is expected."}},
        BrokenTable{"NothingButAKey", "\"a\"", {"2: There is \"\"\" where \";\" is expected."}},
        BrokenTable{"ValueEndsEarly", "\"a\" = \"say \"so\"\";", {"2: There is \"s\" where \";\" is expected."}},
        BrokenTable{"Braces", "{ }", {"2: There is \"{\" where a key is expected."}},
        BrokenTable{"CommentWithoutEnd", "/* no end", {"2: The comment has no end."}},
        BrokenTable{"CommentWithoutEndInAnEntry", "\"a\" = /* \"b\";", {"2: The comment has no end."}},
        BrokenTable{"TwoLines",
                    "\"a\" = ;\n\n\"b\" \"c\";",
                    {"2: There is \";\" where a value is expected.", "4: There is \"\"\" where \";\" is expected."}},
        BrokenTable{"WindowsLineEnds",
                    "\r\n\"a\" = ;\r\n\r\n!\r\n",
                    {"3: There is \";\" where a value is expected.", "5: There is \"!\" where a key is expected."}},
        BrokenTable{
            "CommentOfSeveralLines", "a /*\n \"b\" = \"c\";\n*/ d;", {"2: There is \"d\" where \";\" is expected."}}),
    nameOf);

class CutStringTable : public BrokenStringTable {};

TEST_P(CutStringTable, IsReported) {
    const StringTable table = parseStringTable(GetParam().text);
    EXPECT_TRUE(table.entries.isEmpty());
    EXPECT_EQ(problemsOf(table), GetParam().problems);
}

const Problems kNoKey = {"1: The file ends where a key is expected."};
const Problems kNoValue = {"1: The file ends where a value is expected."};
const Problems kNoSemicolon = {"1: The file ends where \";\" is expected."};

INSTANTIATE_TEST_SUITE_P(All, CutStringTable,
                         testing::Values(BrokenTable{"AQuote", "\"", kNoKey},
                                         BrokenTable{"WithinTheKey", "\"a", kNoKey},
                                         BrokenTable{"WithinAnEscape", "\"a\\", kNoKey},
                                         BrokenTable{"AfterTheKey", "\"a\"", kNoSemicolon},
                                         BrokenTable{"AfterTheEqualsSign", "\"a\" =", kNoValue},
                                         BrokenTable{"WithinTheValue", "\"a\" = \"b", kNoValue},
                                         BrokenTable{"AfterTheValue", "\"a\" = \"b\"", kNoSemicolon},
                                         BrokenTable{"WithinAnEscapeOfTheValue", "a = \"\\U", kNoValue},
                                         BrokenTable{"ASlash", "/", kNoSemicolon},
                                         BrokenTable{"ACommentsBegin", "/*", {"1: The comment has no end."}}),
                         nameOf);

class ManyBrokenLines : public testing::TestWithParam<BrokenTable> {};

/// Rereading the rest of the file at each broken line would take hours.
TEST_P(ManyBrokenLines, TakeTimeInProportion) {
    constexpr int kLines = 200'000;
    const StringTable table = parseStringTable(QByteArray(GetParam().text).repeated(kLines) + "\nlast = 9;\n");
    EXPECT_EQ(table.entries.value(u"last"_qs), u"9"_qs);
}

INSTANTIATE_TEST_SUITE_P(All, ManyBrokenLines,
                         testing::Values(BrokenTable{"Quotes", "\"a\n", {}},
                                         BrokenTable{"CommentsThatOpen", "a /* b\n", {}},
                                         BrokenTable{"MixedQuotes", "'a\n\"b\n", {}}, BrokenTable{"Words", "a\n", {}},
                                         BrokenTable{"EscapedLineEnds", "\"\\\n", {}},
                                         BrokenTable{"CommentsThatEnd", "a = \"b\" /* */\n", {}}),
                         nameOf);

TEST(LookUp, GivesTheKeyWhenThereIsNoEntry) {
    EXPECT_EQ(lookUp({}, QStringLiteral("Cancel")), u"Cancel"_qs);
}

TEST(LookUp, GivesAnEmptyValueAsItIs) {
    const Entries entries{{u"a"_qs, u"A"_qs}, {u"none"_qs, u""_qs}};
    EXPECT_EQ(lookUp(entries, QStringLiteral("a")), u"A"_qs);
    EXPECT_EQ(lookUp(entries, QStringLiteral("none")), QString());
}

TEST(FormatWithoutArguments, ShowsDoubledPercentSignsOnce) {
    EXPECT_EQ(formatWithoutArguments(QStringLiteral("100 %% of %%%%")), QStringLiteral("100 % of %%"));
}

TEST(FormatWithoutArguments, LeavesOtherPercentSigns) {
    EXPECT_EQ(formatWithoutArguments(QStringLiteral("5 % %@ %d %")), QStringLiteral("5 % %@ %d %"));
    EXPECT_EQ(formatWithoutArguments(QStringLiteral("%%%")), QStringLiteral("%%"));
}

TEST(FormatWithArguments, FillsPlaceholdersInOrder) {
    EXPECT_EQ(formatWithArguments(QStringLiteral("%@ %@!"), {u"a"_qs, u"b"_qs}), QStringLiteral("a b!"));
}

TEST(FormatWithArguments, FillsPlaceholdersByNumber) {
    EXPECT_EQ(formatWithArguments(QStringLiteral("%2$@ %1$@ %@"), {u"a"_qs, u"b"_qs}), QStringLiteral("b a a"));
}

TEST(FormatWithArguments, SaysNullWithoutAnArgument) {
    EXPECT_EQ(formatWithArguments(QStringLiteral("%@ %@ %7$@"), {u"a"_qs}), QStringLiteral("a (null) (null)"));
}

TEST(FormatWithArguments, DoesNotReadArgumentsAsFormats) {
    EXPECT_EQ(formatWithArguments(QStringLiteral("%@ %@"), {u"%@ %%"_qs, u"b"_qs}), QStringLiteral("%@ %% b"));
}

TEST(FormatWithArguments, LeavesOtherPercentSigns) {
    EXPECT_EQ(formatWithArguments(QStringLiteral("%% %d %0$@ %1$d %99999999999$@ %1$ %$@ %"), {u"a"_qs}),
              QStringLiteral("% %d %0$@ %1$d %99999999999$@ %1$ %$@ %"));
}

} // namespace
} // namespace kyb
