// What every machine's tables of code pages hold to.

#include "platform/code_pages.h"

#include <gtest/gtest.h>

namespace kyb {
namespace {

struct Row {
    int page;
    const char *bytes;
    const char16_t *text;
};

constexpr Row kWellKnown[] = {
    {437, "M\x81nchen \xE0", u"München α"},
    {737, "\x84\xA2\xA2\x9E\xA4\xA0\xA1\xE1", u"Ελληνικά"},
    {819, "caf\xE9", u"café"},
    {850, "\xB5 \x9B", u"Á ø"},
    {852, "\x90\xA9", u"Éę"},
    {857, "\x98\xA7", u"İğ"},
    {862, "\x99\x8C\x85\x8D", u"שלום"},
    {866, "\x8C\xA8\xE0", u"Мир"},
    {874, "\xE4\xB7\xC2", u"ไทย"},
    {932, "\x93\xFA\x96{\x8C\xEA \x83\\\x83t\x83g \xB1", u"日本語 ソフト ｱ"},
    {936, "\xD6\xD0\xCE\xC4 \x80 \x81@", u"中文 € 丂"},
    {949,
     "\xC7\xD1\xB1\xB9\xBE\xEE \x8C"
     "c",
     u"한국어 똠"},
    {950, "\xA4\xA4\xA4\xE5 \xB3\\ \xA5|", u"中文 許 四"},
    {1250, "\x9Elu\x9Dou\xE8k\xFD k\xF9\xF2 \xB9", u"žluťoučký kůň ą"},
    {1251, "\xCF\xF0\xE8\xE2\xE5\xF2", u"Привет"},
    {1252, "M\xFChle \x80 \x93q\x94", u"Mühle € “q”"},
    {1253, "\xC5\xEB\xEB\xE7\xED\xE9\xEA\xDC", u"Ελληνικά"},
    {1254, "\xDDstanbul \xFE \xF0", u"İstanbul ş ğ"},
    {1255, "\xF9\xEC\xE5\xED", u"שלום"},
    {1256, "\xE3\xD1\xCD\xC8\xC7", u"مرحبا"},
    {1257, "\xE2\xE8\xFE", u"āčž"},
    {1258, "\xD0\xF5", u"Đơ"},
    {10000, "M\x9Fhle \xDB", u"Mühle €"},
    {10006, "\xB6\xEC\xEC\xE8\xEE\xE9\xEB\xC0", u"Ελληνικά"},
    {10007, "\x8F\xF0\xE8\xE2\xE5\xF2", u"Привет"},
    {10029, "\xE4 \x8B", u"š č"},
    {10081, "\xDC\xDD \xDE\xDF", u"İı Şş"},
    {65001, "gr\xC3\xBC\xC3\x9F \xE6\x97\xA5 \xF0\x9F\x98\x80", u"grüß 日 \U0001F600"},
};

TEST(CodePagesContract, SpellsWellKnownTexts) {
    for (const Row &row : kWellKnown) {
        EXPECT_EQ(fromCodePage(row.page, row.bytes).toStdU16String(), row.text)
            << row.page << ": " << fromCodePage(row.page, row.bytes).toStdString();
    }
}

TEST(CodePagesContract, LeavesAsciiAsItIs) {
    QByteArray ascii;
    for (char byte = 0; byte < 0x7F; ++byte) {
        ascii.append(byte);
    }
    for (const Row &row : kWellKnown) {
        EXPECT_EQ(fromCodePage(row.page, ascii), QString::fromLatin1(ascii)) << row.page;
    }
    EXPECT_EQ(fromCodePage(-1, ascii), QString::fromLatin1(ascii));
}

TEST(CodePagesContract, LeavesAsciiAsItIsAmongOtherBytes) {
    const QString ascii = QStringLiteral("\\~'$ ");
    for (const Row &row : kWellKnown) {
        EXPECT_EQ(fromCodePage(row.page, ascii.toLatin1() + row.bytes + " " + ascii.toLatin1()),
                  ascii + QString::fromUtf16(row.text) + u' ' + ascii)
            << row.page;
    }
}

TEST(CodePagesContract, MarksWhatSpellsNothing) {
    constexpr Row kRows[] = {
        {1252, "a\x81\x8D\x8F\x90\x9D z", u"a\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD z"},
        {1250, "\x81\x83", u"\uFFFD\uFFFD"},
        {1251, "\x98", u"\uFFFD"},
        {1253, "\xD2\xFF", u"\uFFFD\uFFFD"},
        {65001, "\x80 \xC3", u"\uFFFD \uFFFD"},
        {65001, "\xC2\x85", u"\uFFFD"},
    };
    for (const Row &row : kRows) {
        EXPECT_EQ(fromCodePage(row.page, row.bytes).toStdU16String(), row.text) << row.page;
    }
}

TEST(CodePagesContract, MarksFirstBytesThatStandAlone) {
    const std::pair<int, QByteArray> firstBytes[] = {
        {932, "\x82"}, {936, "\xD6"}, {949, "\xC7"}, {950, "\xA4"}, {65001, "\xE6\x97"}};
    for (const auto &[page, first] : firstBytes) {
        EXPECT_TRUE(fromCodePage(page, first).startsWith(QChar::ReplacementCharacter)) << page;
        const QString broken = fromCodePage(page, "a" + first + " b");
        EXPECT_TRUE(broken.startsWith(u"a\uFFFD") && broken.endsWith(u" b")) << page << ": " << broken.toStdString();
    }
}

TEST(CodePagesContract, GoesOnBehindWhatIsBroken) {
    EXPECT_EQ(fromCodePage(932, "\x93\xFA\x82 \x96{"), u"日\uFFFD 本");
    EXPECT_EQ(fromCodePage(65001, "\xC3\xBC\xFF\xC3\xBC"), u"ü\uFFFDü");
    EXPECT_EQ(fromCodePage(65001, "\xFF\xEF\xBB\xBFü"), u"\uFFFD\uFEFFü")
        << "a byte order mark is one at the begin only";
}

TEST(CodePagesContract, MarksWhatIsBeyondAsciiInAPageThatIsNotKnown) {
    for (const int page : {-1, 0, 1, 37, 500, 943, 1200, 1201, 12000, 65000, 2147483647}) {
        EXPECT_EQ(fromCodePage(page, "+AGE-\xE4\x80\xFF z"), u"+AGE-\uFFFD\uFFFD\uFFFD z") << page;
    }
}

TEST(CodePagesContract, ReadsManyBrokenBytes) {
    constexpr qsizetype kCount = 50'000;
    const QString text = fromCodePage(932, QByteArray("\x82 ").repeated(kCount));
    EXPECT_EQ(text.count(QChar::ReplacementCharacter), kCount);
    EXPECT_EQ(text.count(u' '), kCount);
}

TEST(CodePagesContract, OfNothingSpellsNothing) {
    EXPECT_EQ(fromCodePage(932, {}), QString());
}

} // namespace
} // namespace kyb
