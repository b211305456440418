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

QVector<int> linesOf(const StringTable &table) {
    QVector<int> lines;
    for (const StringTableError &error : table.errors) {
        EXPECT_FALSE(error.message.isEmpty());
        lines.append(error.line);
    }
    return lines;
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
    EXPECT_EQ(linesOf(table), QVector<int>({2}));
    EXPECT_EQ(table.entries.value(u"d"_qs), u"e"_qs);
}

struct BrokenTable {
    const char *name;
    const char *text;
    QVector<int> lines;
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
    EXPECT_EQ(linesOf(table), GetParam().lines);
}

INSTANTIATE_TEST_SUITE_P(
    All, BrokenStringTable,
    testing::Values(BrokenTable{"NoQuoteAfterTheValue", "\"a\" = \"b;", {2}},
                    BrokenTable{"NoQuoteBeforeTheValue", "\"a\" = b\";", {2}},
                    BrokenTable{"NoQuoteAfterTheKey", "\"a = \"b\";", {2}},
                    BrokenTable{"NoQuoteBeforeTheKey", "a\" = \"b\";", {2}},
                    BrokenTable{"NoSemicolon", "\"a\" = \"b\"", {2}}, BrokenTable{"NoValue", "\"a\" = ;", {2}},
                    BrokenTable{"NoKey", "= \"b\";", {2}}, BrokenTable{"NoEqualsSign", "\"a\" \"b\";", {2}},
                    BrokenTable{"NothingButAKey", "\"a\"", {2}},
                    BrokenTable{"ValueEndsEarly", "\"a\" = \"say \"so\"\";", {2}}, BrokenTable{"Braces", "{ }", {2}},
                    BrokenTable{"CommentWithoutEnd", "/* no end", {2}},
                    BrokenTable{"CommentWithoutEndInAnEntry", "\"a\" = /* \"b\";", {2}},
                    BrokenTable{"TwoLines", "\"a\" = ;\n\n\"b\" \"c\";", {2, 4}},
                    BrokenTable{"WindowsLineEnds", "\r\n\"a\" = ;\r\n\r\n!\r\n", {3, 5}},
                    BrokenTable{"CommentOfSeveralLines", "a /*\n \"b\" = \"c\";\n*/ d;", {2}}),
    nameOf);

TEST(StringTable, ReportsAnEntryThatTheFileCutsOff) {
    for (const char *text :
         {"\"", "\"a", "\"a\\", "\"a\"", "\"a\" =", "\"a\" = \"b", "\"a\" = \"b\"", "a = \"\\U", "/", "/*"}) {
        const StringTable table = parseStringTable(text);
        EXPECT_TRUE(table.entries.isEmpty()) << text;
        EXPECT_EQ(linesOf(table), QVector<int>({1})) << text;
    }
}

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
