#include "text/rich_text.h"

#include "text/rich_text_layout.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <gtest/gtest.h>
#include <limits>
#include <ostream>
#include <set>
#include <tuple>
#include <vector>

namespace kyb {

std::ostream &operator<<(std::ostream &out, RichTextAlignment alignment) {
    return out << static_cast<int>(alignment);
}

namespace {

RichTextDocument parsed(const QByteArray &body) {
    return parseRichText("{\\rtf1\\ansi\\ansicpg1252 " + body + "}");
}

QString textOf(const QByteArray &body) {
    return plainText(parsed(body));
}

/// The runs of the first paragraph.
QVector<RichTextRun> runsOf(const QByteArray &body) {
    const RichTextDocument document = parsed(body);
    return document.paragraphs.isEmpty() ? QVector<RichTextRun>() : document.paragraphs.first().runs;
}

/// Each run's text behind the marks of its format, as in "b:text".
QStringList marked(const QVector<RichTextRun> &runs) {
    QStringList result;
    for (const RichTextRun &run : runs) {
        QString marks;
        marks += run.bold ? u"b"_qs : QString();
        marks += run.italic ? u"i"_qs : QString();
        marks += run.underline ? u"u"_qs : QString();
        marks += run.strikeOut ? u"s"_qs : QString();
        result.append(marks + u':' + run.text);
    }
    return result;
}

TEST(RichText, IsEmptyForWhatIsNotRtf) {
    EXPECT_TRUE(parseRichText("").paragraphs.isEmpty());
    EXPECT_TRUE(parseRichText("{").paragraphs.isEmpty());
    EXPECT_TRUE(parseRichText("Terms and conditions").paragraphs.isEmpty());
    EXPECT_TRUE(parseRichText("{\\rtf1}").paragraphs.isEmpty());
}

TEST(RichText, PassesOverAByteOrderMark) {
    EXPECT_EQ(plainText(parseRichText("\xEF\xBB\xBF{\\rtf1 Terms}")), u"Terms"_qs);
    EXPECT_TRUE(parseRichText("\xEF\xBB\xBF").paragraphs.isEmpty());
    EXPECT_TRUE(parseRichText("\xEF\xBB\xBFTerms").paragraphs.isEmpty());
}

TEST(RichText, PassesOverBlanksBeforeTheDocument) {
    EXPECT_EQ(plainText(parseRichText(" \r\n\t{\\rtf1 Terms}")), u"Terms"_qs);
    EXPECT_EQ(plainText(parseRichText("\xEF\xBB\xBF\r\n{\\rtf1 Terms}")), u"Terms"_qs);
    EXPECT_TRUE(parseRichText(" \n").paragraphs.isEmpty());
    EXPECT_TRUE(parseRichText("\n Terms").paragraphs.isEmpty());
}

TEST(RichText, EndsParagraphsAtParAndAtABackslashBeforeALineEnd) {
    EXPECT_EQ(textOf("one\\par two\\\nthree\\\r\nfour"), u"one\ntwo\nthree\nfour"_qs);
    EXPECT_EQ(parsed("one\\par\\par two\\par").paragraphs.size(), 3);
}

TEST(RichText, PassesOverLineEndsInTheFile) {
    EXPECT_EQ(textOf("one\r\n two\nthree"), u"one twothree"_qs);
}

TEST(RichText, BreaksLinesWithinAParagraph) {
    const RichTextDocument document = parsed("one\\line two\\uc0\\u8232 three");
    EXPECT_EQ(document.paragraphs.size(), 1);
    EXPECT_EQ(document.paragraphs.first().runs.first().text, u"one\u2028two\u2028three"_qs);
    EXPECT_EQ(plainText(document), u"one\ntwo\nthree"_qs);
}

TEST(RichText, BreaksPagesAsParagraphs) {
    EXPECT_EQ(textOf("one\\page two\\par\\page three\\sect four"), u"one\ntwo\nthree\nfour"_qs);
}

TEST(RichText, BreaksColumnsAsPagesAndAroundPicturesAsLines) {
    EXPECT_EQ(textOf("one\\column two\\par\\column three"), u"one\ntwo\nthree"_qs);
    EXPECT_EQ(parsed("one\\lbr0 two\\lbr3 three").paragraphs.first().runs.first().text, u"one\u2028two\u2028three"_qs);
}

TEST(RichText, ShowsTextBoxesOnceAndAsParagraphs) {
    const QByteArray box = "{\\shp{\\*\\shpinst\\shpleft1{\\sp{\\sn n}{\\sv 1}}{\\shptxt \\pard\\qc In a box\\par}}"
                           "{\\shprslt{\\*\\do\\dptxbx{\\dptxbxtext \\pard In a box\\par}}}}";
    EXPECT_EQ(textOf("before" + box + "after"), u"before\nIn a box\nafter"_qs);
    EXPECT_EQ(textOf("{\\shpgrp{\\*\\shpinst" + box + "}}after"), u"In a box\nafter"_qs);
    EXPECT_EQ(parsed(box + "after").paragraphs.last().alignment, RichTextAlignment::Left);
}

TEST(RichText, KeepsBoldAcrossGroups) {
    EXPECT_EQ(marked(runsOf("a{\\b b{\\i c}d}e")), QStringList({u":a"_qs, u"b:b"_qs, u"bi:c"_qs, u"b:d"_qs, u":e"_qs}));
}

TEST(RichText, SwitchesFormatsOnAndOff) {
    EXPECT_EQ(marked(runsOf("\\b a\\b0 b\\i1 c\\i0 d\\ul e\\ulnone f\\b\\i\\ul g\\plain h")),
              QStringList({u"b:a"_qs, u":b"_qs, u"i:c"_qs, u":d"_qs, u"u:e"_qs, u":f"_qs, u"biu:g"_qs, u":h"_qs}));
}

TEST(RichText, JoinsTextOfOneFormat) {
    EXPECT_EQ(marked(runsOf("a{b}\\b\\b0 c")), QStringList({u":abc"_qs}));
}

TEST(RichText, KnowsEachWayToUnderline) {
    for (const char *word :
         {"ul", "uld", "uldash", "uldashd", "uldashdd", "uldb", "ulhwave", "ulldash", "ulth", "ulthd", "ulthdash",
          "ulthdashd", "ulthdashdd", "ulthldash", "ululdbwave", "ulw", "ulwave"}) {
        const QByteArray on = QByteArray("\\") + word;
        const QStringList expected{u":a"_qs, u"u:b"_qs, u":c"_qs};
        EXPECT_EQ(marked(runsOf("a" + on + " b" + on + "0 c")), expected) << word;
        EXPECT_EQ(marked(runsOf("a" + on + "1 b\\ul0 c")), expected) << word;
        EXPECT_EQ(marked(runsOf("a" + on + " b\\ulnone c")), expected) << word;
        EXPECT_EQ(marked(runsOf("a{" + on + " b}c")), expected) << word;
    }
}

TEST(RichText, KeepsTheLettersOfWhatIsShownInCapitals) {
    const auto runs = runsOf("a\\caps b\\caps0 c");
    ASSERT_EQ(runs.size(), 3);
    EXPECT_EQ(runs[1].text, u"b"_qs);
    EXPECT_TRUE(runs[1].capitals);
    EXPECT_FALSE(runs[2].capitals);
}

TEST(RichText, KeepsWhatIsStruckOut) {
    EXPECT_EQ(marked(runsOf("a\\strike b\\strike0 c\\striked1 d\\striked0 e{\\strike f}\\strike g\\plain h")),
              QStringList({u":a"_qs, u"s:b"_qs, u":c"_qs, u"s:d"_qs, u":e"_qs, u"s:fg"_qs, u":h"_qs}));
}

TEST(RichText, LeavesOutHiddenAndDeletedText) {
    for (const char *word : {"v", "deleted", "mvf"}) {
        const QByteArray on = QByteArray("\\") + word;
        const QByteArray rows[] = {"a{" + on + " b}c",
                                   "a{\\*" + on + " b}c",
                                   "a" + on + " b" + on + "0 c",
                                   "a" + on + "1 b" + on + "0c",
                                   "a" + on + " b\\plain c",
                                   "a{" + on + " b{\\b d}}c",
                                   "a{" + on + "\\revauthdel1\\revdttmdel-1 b\\'e4\\emdash\\u228?\\tab\\line}c",
                                   "a{" + on + " b\\par d\\par}c",
                                   "a{" + on + " b\\\n}c"};
        for (const QByteArray &row : rows) {
            EXPECT_EQ(textOf(row), u"ac"_qs) << row.toStdString();
        }
    }
}

TEST(RichText, ShowsWhatAReviewerPutIn) {
    EXPECT_EQ(textOf("a{\\revised\\revauth1 b}{\\mvt d}c"), u"abdc"_qs);
    EXPECT_EQ(textOf("a\\deleted b\\v c\\v0 d\\deleted0 e"), u"ae"_qs); // each word ends its own
}

TEST(RichText, ReadsFontsAndSizes) {
    const auto runs =
        runsOf("\\deff1{\\fonttbl{\\f0\\fnil Menlo;}{\\f1\\froman\\fcharset0 Gill Sans MT{\\*\\falt Arial};}}"
               "\\fs24 a\\f0\\fs27 b\\plain c\\f9 d");
    ASSERT_EQ(runs.size(), 4);
    EXPECT_EQ(runs[0].fontFamilies, QStringList(u"Gill Sans MT"_qs));
    EXPECT_EQ(runs[0].sizePoints, 12.0);
    EXPECT_EQ(runs[1].fontFamilies, QStringList(u"Menlo"_qs));
    EXPECT_EQ(runs[1].sizePoints, 13.5);
    EXPECT_EQ(runs[2].fontFamilies, QStringList(u"Gill Sans MT"_qs));
    EXPECT_EQ(runs[2].sizePoints, 12.0);
    EXPECT_EQ(runs[3].fontFamilies, QStringList());
}

TEST(RichText, ReadsAFontTableWithoutGroups) {
    const auto runs = runsOf("{\\fonttbl\\f0\\fswiss\\fcharset0 Helvetica;\\f1 Optima;\n}\\f0 a\\f1 b");
    ASSERT_EQ(runs.size(), 2);
    EXPECT_EQ(runs[0].fontFamilies, QStringList(u"Helvetica"_qs));
    EXPECT_EQ(runs[1].fontFamilies, QStringList(u"Optima"_qs));
}

TEST(RichText, LetsTheLaterOfTwoFontsCount) {
    const auto runs = runsOf("{\\fonttbl\\f0 Helvetica;\\f0 Optima;}\\f0 a");
    ASSERT_EQ(runs.size(), 1);
    EXPECT_EQ(runs[0].fontFamilies, QStringList(u"Optima"_qs));
}

TEST(RichText, TakesTheStyleOfAFaceThatTheFontTableNames) {
    const auto runs = runsOf("{\\fonttbl\\f0 Helvetica-BoldOblique;\\f1 Helvetica;}\\f0 a\\b\\i b\\b0\\i0\\ul c\\f1 d");
    EXPECT_EQ(marked(runs), QStringList({u"bi:a"_qs, u"bi:b"_qs, u"biu:c"_qs, u"u:d"_qs}));
    for (const RichTextRun &run : runs) {
        EXPECT_EQ(run.fontFamilies, QStringList(u"Helvetica"_qs));
    }
}

TEST(RichText, ReadsColours) {
    const auto runs = runsOf("{\\colortbl;\\red255\\green128\\blue1;\\red0\\green0\\blue0;}"
                             "\\cf1 a\\cf2 b\\cf0 c\\cf1 d\\cf9 e");
    ASSERT_EQ(runs.size(), 5);
    EXPECT_EQ(runs[0].colorRgb, 0xFF8001u);
    EXPECT_EQ(runs[1].colorRgb, 0x000000u);
    EXPECT_EQ(runs[2].colorRgb, std::nullopt);
    EXPECT_EQ(runs[3].colorRgb, 0xFF8001u);
    EXPECT_EQ(runs[4].colorRgb, std::nullopt);
}

TEST(RichText, ReadsParagraphFormats) {
    const RichTextDocument document =
        parsed("\\qc a\\par\\pard\\qr\\li720\\fi-360\\ri100\\sb200\\sa30 b\\par c\\par\\pard d\\par\\qj e\\par\\ql f");
    ASSERT_EQ(document.paragraphs.size(), 6);
    EXPECT_EQ(document.paragraphs[0].alignment, RichTextAlignment::Center);
    for (const int i : {1, 2}) {
        const RichTextParagraph &paragraph = document.paragraphs[i];
        EXPECT_EQ(paragraph.alignment, RichTextAlignment::Right);
        EXPECT_EQ(paragraph.leftIndentPoints, 36.0);
        EXPECT_EQ(paragraph.firstLineIndentPoints, -18.0);
        EXPECT_EQ(paragraph.rightIndentPoints, 5.0);
        EXPECT_EQ(paragraph.spaceBeforePoints, 10.0);
        EXPECT_EQ(paragraph.spaceAfterPoints, 1.5);
    }
    EXPECT_EQ(document.paragraphs[3].alignment, RichTextAlignment::Left);
    EXPECT_EQ(document.paragraphs[3].leftIndentPoints, 0.0);
    EXPECT_EQ(document.paragraphs[4].alignment, RichTextAlignment::Justified);
    EXPECT_EQ(document.paragraphs[5].alignment, RichTextAlignment::Left);
}

TEST(RichText, TakesTheUsualNumberForOneThatIsLeftOut) {
    const RichTextDocument document = parsed("\\li99\\li\\ri99\\ri\\fi99\\fi\\sa99\\sa\\sb99\\sb a");
    EXPECT_EQ(document.paragraphs[0].leftIndentPoints, 0.0);
    EXPECT_EQ(document.paragraphs[0].rightIndentPoints, 0.0);
    EXPECT_EQ(document.paragraphs[0].firstLineIndentPoints, 0.0);
    EXPECT_EQ(document.paragraphs[0].spaceAfterPoints, 0.0);
    EXPECT_EQ(document.paragraphs[0].spaceBeforePoints, 0.0);
    EXPECT_EQ(runsOf("\\fs60\\fs a")[0].sizePoints, 12.0);
    EXPECT_EQ(runsOf("{\\colortbl;\\red9\\red\\green9\\green\\blue9\\blue;}\\cf1 a")[0].colorRgb, 0u);
    EXPECT_EQ(runsOf("{\\colortbl;\\red9;}\\cf1\\cf a")[0].colorRgb, std::nullopt);
    const QByteArray fonts = "{\\fonttbl\\f0 Zero;\\f1 One;}";
    EXPECT_EQ(runsOf(fonts + "\\f1\\f a")[0].fontFamilies, QStringList(u"Zero"_qs));
    EXPECT_EQ(runsOf("\\deff1\\deff" + fonts + "\\plain a")[0].fontFamilies, QStringList(u"Zero"_qs));
    EXPECT_EQ(plainText(parseRichText("{\\rtf1\\ansicpg1251{\\fonttbl\\f0\\fcharset A;}\\f0\\'e9}")), u"é"_qs);
    EXPECT_EQ(textOf("\\uc3\\uc\\u233?a"), u"éa"_qs);
}

TEST(RichText, KeepsLengthsWithinAPage) {
    const RichTextDocument document = parsed("\\li99999999\\fi-99999999\\sb-5\\fs99999999 a");
    ASSERT_EQ(document.paragraphs.size(), 1);
    EXPECT_EQ(document.paragraphs[0].leftIndentPoints, 22 * 72.0);
    EXPECT_EQ(document.paragraphs[0].firstLineIndentPoints, -22 * 72.0);
    EXPECT_EQ(document.paragraphs[0].spaceBeforePoints, 0.0);
    EXPECT_EQ(document.paragraphs[0].runs[0].sizePoints, 400.0);
}

TEST(RichText, ReadsSpecialCharacters) {
    EXPECT_EQ(textOf("\\emdash\\endash\\lquote\\rquote\\ldblquote\\rdblquote\\bullet\\tab\\emspace\\enspace\\qmspace"
                     "\\~\\_\\-\\\\\\{\\}\t"),
              u"—–‘’“”•\t\u2003\u2002\u2005\u00A0\u2011\u00AD\\{}\t"_qs);
}

TEST(RichText, ReadsMarksThatTakeNoRoom) {
    EXPECT_EQ(textOf("a\\zwj b\\zwnj c\\ltrmark d\\rtlmark e"), u"a\u200Db\u200Cc\u200Ed\u200Fe"_qs);
}

TEST(RichText, TakesOneBlankWithAControlWord) {
    EXPECT_EQ(textOf("a\\b  b\\b0c"), u"a bc"_qs);
}

TEST(RichText, ReadsBytesInTheDocumentsCodePage) {
    EXPECT_EQ(textOf("M\\'fchle \\'80 \xE4"), u"Mühle € ä"_qs);
    EXPECT_EQ(plainText(parseRichText("{\\rtf1\\mac M\\'9fhle\\'db}")), u"Mühle€"_qs);
    EXPECT_EQ(plainText(parseRichText("{\\rtf1\\ansi\\ansicpg1251 \\'c4\\'e0}")), u"Да"_qs);
    EXPECT_EQ(plainText(parseRichText("{\\rtf1\\ansi\\ansicpg1250 \\'b9}")), u"ą"_qs);
    EXPECT_EQ(plainText(parseRichText("{\\rtf1\\pc \\'81}{\\rtf1 }")), u"ü"_qs);
    EXPECT_EQ(plainText(parseRichText("{\\rtf1\\pca \\'b5}")), u"Á"_qs);
}

TEST(RichText, TakesTheWritersOwnCodePageForTheUsualOne) {
    EXPECT_EQ(plainText(parseRichText("{\\rtf1\\ansi\\ansicpg0 caf\\'e9}")), u"café"_qs);
    EXPECT_EQ(plainText(parseRichText("{\\rtf1\\ansi\\ansicpg1251{\\fonttbl\\f0\\cpg0 A;}\\f0\\'c4\\'e0}")), u"Да"_qs);
}

TEST(RichText, ReadsBytesInTheFontsCodePage) {
    EXPECT_EQ(textOf("{\\fonttbl\\f0\\fcharset204 A;\\f1\\fcharset1 B;\\f2\\fcharset77 C;}\\f0\\'c4\\f1\\'c4\\f2\\'80"),
              u"ДÄÄ"_qs);
    EXPECT_EQ(textOf("{\\fonttbl\\f0\\fcharset0\\cpg1251 A;}\\f0\\'c4"), u"Д"_qs);
    EXPECT_EQ(textOf("\\cpg1251\\'c4"), u"Ä"_qs); // counts in the font table alone
    EXPECT_EQ(runsOf("{\\fonttbl\\f0\\fcharset128 \\'96\\'be\\'92\\'a9;}\\f0 a").first().fontFamilies,
              QStringList(u"明朝"_qs));
}

TEST(RichText, ReadsUtf8WhateverTheFontsCharset) {
    EXPECT_EQ(plainText(parseRichText("{\\rtf1\\ansi\\ansicpg65001{\\fonttbl\\f0\\fcharset0 A;}\\f0 Gr\xC3\xB6\xC3\x9F"
                                      "e}")),
              u"Gr\u00F6\u00DFe"_qs);
    EXPECT_EQ(plainText(parseRichText("{\\rtf1\\ansi\\ansicpg65001{\\fonttbl\\f0\\fcharset161 A;}\\f0\\'e1}")),
              u"\u03B1"_qs);
}

TEST(RichText, ReadsTheSignsOfSymbolFonts) {
    const QByteArray fonts = "{\\fonttbl{\\f0\\fcharset0 Times;}{\\f1\\fcharset2 Symbol;}{\\f2\\fcharset2 Wingdings;}"
                             "{\\f3\\fcharset2 Webdings;}{\\f4\\fcharset2 Own Signs;}{\\f5\\fcharset0 Symbol;}}";
    EXPECT_EQ(textOf(fonts + "\\f1 abW 1+2\\'b7\\'d2\\'d3\\'d4\\'a3\\'fe"),
              u"\u03B1\u03B2\u03A9 1+2\u2022\u00AE\u00A9\u2122\u2264\u23AD"_qs);
    EXPECT_EQ(textOf(fonts + "\\f1\\'9f\\'ff"), u"\u2022\u2022"_qs);
    EXPECT_EQ(textOf(fonts + "\\f2\\'a7\\tab\\'fc \\'fbn\\'01z"), u"\u25AA\t\u2713 \u2717\u25A0\u2022"_qs);
    EXPECT_EQ(textOf(fonts + "\\f3 a b"), u"\u2022 \u2022"_qs);
    EXPECT_EQ(textOf(fonts + "\\f4\\'a7 \\f5\\'a7 \\f0\\'a7"),
              u"\u00A7 \u00A7 \u00A7"_qs); // of no sign font that is known
    EXPECT_EQ(textOf(fonts + "\\f1\\u-3913\\'b7\\f2\\u-3929\\'a7\\u9675?\\f0\\u-3913?"),
              u"\u2022\u25AA\u25CB\uF0B7"_qs);
    EXPECT_EQ(runsOf(fonts + "\\f2\\'a7").first().fontFamilies, QStringList()); // which lacks what is shown
    EXPECT_EQ(textOf("{\\fonttbl\\f0\\fcharset2 Wing{\\*\\falt x}dings;}\\f0\\'a7"), u"\u25AA"_qs);
}

TEST(RichText, KnowsTheCharsetsOfFonts) {
    const std::tuple<int, const char *, QString> rows[] = {
        {0, "\\'fc", u"ü"_qs},         {77, "\\'9f", u"ü"_qs},        {78, "\\'93\\'fa", u"日"_qs},
        {79, "\\'c7\\'d1", u"한"_qs},  {80, "\\'d6\\'d0", u"中"_qs},  {81, "\\'a4\\'a4", u"中"_qs},
        {83, "\\'f9", u"ש"_qs},        {84, "\\'e5", u"م"_qs},        {85, "\\'eb", u"κ"_qs},
        {86, "\\'dc", u"İ"_qs},        {87, "\\'e4", u"ไ"_qs},        {88, "\\'8b", u"č"_qs},
        {89, "\\'8f", u"П"_qs},        {128, "\\'93\\'fa", u"日"_qs}, {129, "\\'c7\\'d1", u"한"_qs},
        {130, "\\'88\\'61", u"가"_qs}, {134, "\\'d6\\'d0", u"中"_qs}, {136, "\\'a4\\'a4", u"中"_qs},
        {161, "\\'c5", u"Ε"_qs},       {162, "\\'dd", u"İ"_qs},       {163, "\\'f5", u"ơ"_qs},
        {177, "\\'f9", u"ש"_qs},       {178, "\\'e3", u"م"_qs},       {186, "\\'e2", u"ā"_qs},
        {204, "\\'cf", u"П"_qs},       {222, "\\'e4", u"ไ"_qs},       {238, "\\'b9", u"ą"_qs},
        {254, "\\'81", u"ü"_qs},       {255, "\\'b5", u"Á"_qs},       {99, "\\'b5a", u"\uFFFDa"_qs},
    };
    for (const auto &[charset, bytes, text] : rows) {
        EXPECT_EQ(textOf("{\\fonttbl\\f0\\fcharset" + QByteArray::number(charset) + " A;}\\f0" + bytes), text)
            << charset;
    }
}

QString textInCodePage(int codePage, const QByteArray &body) {
    return plainText(parseRichText("{\\rtf1\\ansi\\ansicpg" + QByteArray::number(codePage) + " " + body + "}"));
}

TEST(RichText, ReadsBytesInAnyCodePageOfADocument) {
    const std::tuple<int, const char *, QString> rows[] = {
        {874, "\\'e4\\'b7\\'c2", u"ไทย"_qs},
        {932, "\\'93\\'fa\\'96\\'7b", u"日本"_qs},
        {936, "\\'d6\\'d0", u"中"_qs},
        {949, "\\'c7\\'d1", u"한"_qs},
        {950, "\\'a4\\'a4", u"中"_qs},
        {1253, "\\'c5\\'eb\\'eb", u"Ελλ"_qs},
        {1254, "\\'dd\\'fe\\'f0", u"İşğ"_qs},
        {1255, "\\'f9", u"ש"_qs},
        {1256, "\\'e3", u"م"_qs},
        {1257, "\\'e2", u"ā"_qs},
        {65001, "\\'c3\\'bc\\'e6\\'97\\'a5", u"ü日"_qs},
    };
    for (const auto &[page, bytes, text] : rows) {
        EXPECT_EQ(textInCodePage(page, bytes), text) << page;
    }
}

TEST(RichText, ReadsCharactersOfSeveralBytes) {
    EXPECT_EQ(textInCodePage(932, "a\\'93\\'fa\\'96\\'7b"), u"a日本"_qs);
    EXPECT_EQ(textInCodePage(932, "\x93\xFA\\'96{\\b x}"), u"日\uFFFDx"_qs);
    EXPECT_EQ(textInCodePage(65001, "gr\\'c3\\'bc\\'c3\x9F"), u"grüß"_qs);
    EXPECT_EQ(textInCodePage(936, "\\'d6\\'d0\n\\'ce\r\n\\'c4"), u"中文"_qs);
}

TEST(RichText, TakesALetterOfTheFileForALaterByte) {
    EXPECT_EQ(textInCodePage(932, "\\'83A\\'83n"), u"アハ"_qs);
    EXPECT_EQ(textInCodePage(932, "\\'83\\\\\\'96\\{"), u"ソ本"_qs);
}

TEST(RichText, MarksCharactersThatAreParted) {
    EXPECT_EQ(textInCodePage(932, "\\'93\\b\\'fa"), u"\uFFFD\uFFFD"_qs);
    EXPECT_EQ(textInCodePage(932, "\\'93\\u97 ?{\\'93}b\\'93\\par c\\'93"), u"\uFFFDa\uFFFDb\uFFFD\nc\uFFFD"_qs);
    EXPECT_EQ(textInCodePage(65001, "\\'e6\\'97"), u"\uFFFD"_qs);
}

TEST(RichText, CountsTheBytesThatStandForUnicode) {
    EXPECT_EQ(textInCodePage(932, "\\'93\\'fa\\uc2\\u26412\\'96\\'7b\\'8c\\'ea"), u"日本語"_qs);
    EXPECT_EQ(textInCodePage(932, "\\uc1\\u26412?\\'8c\\'ea"), u"本語"_qs);
    EXPECT_EQ(textInCodePage(932, "\\uc2\\u12450\\'83Ab"), u"アb"_qs);
}

TEST(RichText, MarksBytesThatSpellNothing) {
    EXPECT_EQ(textInCodePage(7, "a\\'82\\'a0"), u"a\uFFFD\uFFFD"_qs);
    EXPECT_EQ(textOf("\\'81"), u"\uFFFD"_qs);
}

TEST(RichText, ReadsUnicodeAndPassesOverWhatStandsForIt) {
    EXPECT_EQ(textOf("\\u8211-b"), u"–b"_qs);
    EXPECT_EQ(textOf("\\u8211\\'96b"), u"–b"_qs);
    EXPECT_EQ(textOf("\\uc2\\u8211\\'96-b"), u"–b"_qs);
    EXPECT_EQ(textOf("\\uc0\\u8211 b"), u"–b"_qs);
    EXPECT_EQ(textOf("\\u8211\\emdash b"), u"–b"_qs);
    EXPECT_EQ(textOf("{\\uc0\\u228 a}\\u228 ab"), u"äaäb"_qs);
}

TEST(RichText, PassesOverNoFallbackBeyondTheGroup) {
    EXPECT_EQ(textOf("{\\uc9\\u228 a}b"), u"äb"_qs);
    EXPECT_EQ(textOf("\\uc9\\u228 a{b}"), u"äb"_qs);
}

TEST(RichText, ReadsNegativeAndPairedUnicode) {
    EXPECT_EQ(textOf("\\uc0\\u-4051"), u"\uF02D"_qs);
    EXPECT_EQ(textOf("\\uc1\\u-10179?\\u-8704?"), u"\U0001F600"_qs);
    EXPECT_EQ(textOf("\\uc0\\u128512 "), u"\U0001F600"_qs);
}

TEST(RichText, MarksWhatIsNoCharacter) {
    EXPECT_EQ(textOf("\\uc0\\u-10179 a\\u-8704 b\\u99999999 c\\u-99999999 d"), u"\uFFFDa\uFFFDb\uFFFDc\uFFFDd"_qs);
}

TEST(RichText, LeavesOutControlCharacters) {
    EXPECT_EQ(textOf("a\\'00\\'01\\'7f\\uc0\\u0 \\u133 \\u65532 \\u64976 b"), u"ab"_qs);
}

TEST(RichText, PassesOverOptionalDestinationsThatItDoesNotKnow) {
    EXPECT_EQ(textOf("a{\\*\\generator Some {\\b Writer};}b{\\*\\unknown\\par}c"), u"abc"_qs);
}

TEST(RichText, ShowsTheTextOfUnknownWords) {
    EXPECT_EQ(textOf("a{\\unknown b}\\partightenfactor0 c"), u"abc"_qs);
}

TEST(RichText, LeavesOutWhatIsNotText) {
    EXPECT_EQ(textOf("a{\\pict\\pngblip 89504e47}b{\\object{\\*\\objdata 01}{\\result r}}c{\\info{\\title t}}d"
                     "{\\stylesheet{\\s0 Normal;}}e{\\header h}f{\\footerf i}g{\\footnote j\\par}h"),
              u"abcdefgh"_qs);
}

TEST(RichText, LeavesOutDestinationsThatAreNotMarkedAsOptional) {
    for (const char *word : {"aftncn",
                             "aftnsep",
                             "aftnsepc",
                             "annotation",
                             "atnauthor",
                             "atndate",
                             "atnicn",
                             "atnid",
                             "atnparent",
                             "atnref",
                             "atntime",
                             "atrfend",
                             "atrfstart",
                             "bkmkend",
                             "bkmkstart",
                             "comment",
                             "datastore",
                             "falt",
                             "filetbl",
                             "fldinst",
                             "fname",
                             "footer",
                             "footerf",
                             "footerl",
                             "footerr",
                             "footnote",
                             "formfield",
                             "ftncn",
                             "ftnsep",
                             "ftnsepc",
                             "generator",
                             "header",
                             "headerf",
                             "headerl",
                             "headerr",
                             "info",
                             "listoverridetable",
                             "listtable",
                             "nonesttables",
                             "nonshppict",
                             "object",
                             "panose",
                             "pgdsctbl",
                             "pict",
                             "pntxta",
                             "pntxtb",
                             "private1",
                             "revtbl",
                             "rsidtbl",
                             "shprslt",
                             "sp",
                             "stylesheet",
                             "tc",
                             "tcn",
                             "template",
                             "themedata",
                             "userprops",
                             "xe",
                             "xmlname",
                             "xmlnstbl"}) {
        EXPECT_EQ(textOf("a{\\" + QByteArray(word) + " text;{\\b more}}b"), u"ab"_qs) << word;
    }
}

TEST(RichText, TakesTheUnicodeSideOfTwo) {
    EXPECT_EQ(textOf("a{\\upr{b?\\par}{\\*\\ud{c\\u8364?}}}d"), u"ac\u20ACd"_qs);
    EXPECT_EQ(textOf("a{\\info{\\upr{\\title b}{\\*\\ud{\\title c}}}}d{\\*\\ud e}"), u"ade"_qs);
}

TEST(RichText, LeavesOutEntriesOfAnIndex) {
    EXPECT_EQ(textOf("a{\\xe b}c{\\xe\\v d{\\txe e}{\\*\\rxe f}}g{\\tc h\\tcl2}i{\\tcn j}k{\\*\\xe{\\b l\\par}}m"),
              u"acgikm"_qs);
}

TEST(RichText, ShowsLinksAsTheirTexts) {
    EXPECT_EQ(textOf("see {\\field{\\*\\fldinst{HYPERLINK \"file:///etc\"}}{\\fldrslt\\ul the terms}}."),
              u"see the terms."_qs);
}

TEST(RichText, KeepsListMarks) {
    EXPECT_EQ(textOf("{\\listtext\t1.\t}one\\par{\\pntext\\f1 2.\\tab}{\\*\\pn\\pnlvlbody{\\pntxta .}}two"),
              u"\t1.\tone\n2.\ttwo"_qs);
}

TEST(RichText, ShowsTablesAsLines) {
    EXPECT_EQ(textOf("\\trowd\\cellx100\\cellx200\\pard\\intbl a\\cell b\\cell\\row"
                     "\\trowd\\cellx100\\cellx200\\pard\\intbl c\\cell d\\cell\\row\\pard e"),
              u"a\tb\t\nc\td\t\ne"_qs);
}

TEST(RichText, ShowsNestedTablesAsLines) {
    const QByteArray rowEnd = "{\\*\\nesttableprops\\trowd\\cellx100\\cellx200\\nestrow}{\\nonesttables\\par }";
    EXPECT_EQ(textOf("\\trowd\\cellx400\\pard\\intbl a\\par\\pard\\intbl\\itap2 b\\nestcell c\\nestcell" + rowEnd +
                     "\\pard\\intbl\\itap2 d\\nestcell e\\nestcell" + rowEnd + "\\pard\\intbl f\\cell\\row\\pard g"),
              u"a\nb\tc\t\nd\te\t\nf\t\ng"_qs);
    EXPECT_EQ(textOf("a\\nestcell{\\*\\nesttableprops\\nestrow}b"),
              u"a\t\nb"_qs); // by writers that leave the other out
    EXPECT_EQ(textOf("a{\\nonesttables b\\par}c"), u"ac"_qs);
}

TEST(RichText, PassesOverBinaryData) {
    EXPECT_EQ(textOf("a\\bin3 }{\\b"), u"ab"_qs);
    EXPECT_EQ(textOf("a{\\pict\\bin4 }}}}}b"), u"ab"_qs);
    EXPECT_EQ(textOf("a\\bin0 b\\bin-3 c\\bin d"), u"abcd"_qs);
}

TEST(RichText, StopsAtTheEndOfTheDocumentsGroup) {
    EXPECT_EQ(plainText(parseRichText("{\\rtf1 a}b}}c")), u"a"_qs);
}

TEST(RichText, ReadsWhatATruncatedDocumentHolds) {
    const QByteArray whole =
        "{\\rtf1{\\fonttbl\\f0 A;}{\\colortbl;\\red1;}\\f0\\cf1 a{\\b b\\'e4\\endash\\bin2 ..\\par c}d}";
    for (qsizetype size = 0; size <= whole.size(); ++size) {
        const QString text = plainText(parseRichText(whole.first(size)));
        EXPECT_TRUE(u"abä–\ncd"_qs.startsWith(text)) << size << ": " << text.toStdString();
    }
}

TEST(RichText, EndsWhereATokenIsCutOff) {
    for (const char *end :
         {"\\", "\\u", "\\u-", "\\'", "\\'f", "\\b", "\\bin", "\\bin9", "\\bin2147483647", "\\*", "{\\*\\", "{\\f"}) {
        EXPECT_EQ(plainText(parseRichText(QByteArray("{\\rtf1 a") + end)), u"a"_qs) << end;
    }
}

TEST(RichText, ReadsNumbersOfAnySize) {
    const QByteArray nines(100'000, '9');
    for (const char *word :
         {"bin", "u", "uc", "f", "fs", "cf", "li", "fi", "sb", "b", "red", "ansicpg", "fcharset", "deff", "x"}) {
        for (const char *sign : {"", "-"}) {
            const QByteArray control = QByteArray("\\") + word + sign + nines + " ";
            parsed("{\\fonttbl" + control + "A;}{\\colortbl" + control + ";}" + control + "a");
        }
    }
    EXPECT_EQ(textOf("a\\bin" + nines + " b"), u"a"_qs);
}

TEST(RichText, ReadsGroupsOfAnyDepth) {
    constexpr int kDepth = 1'000'000;
    const QByteArray open(kDepth, '{');
    const QByteArray close(kDepth, '}');
    EXPECT_EQ(textOf(open + "\\b a" + close + "b"), u"ab"_qs);
    EXPECT_EQ(textOf(QByteArray("{\\b ").repeated(kDepth) + "a"), u"a"_qs);
    EXPECT_EQ(textOf("a" + close + open), u"a"_qs);
}

TEST(RichText, ReadsTenMegabytesOfBraces) {
    EXPECT_TRUE(parseRichText(QByteArray(10 << 20, '{')).paragraphs.isEmpty());
    EXPECT_TRUE(parsed(QByteArray(10 << 20, '{')).paragraphs.isEmpty());
    EXPECT_TRUE(parsed(QByteArray(10 << 20, '}')).paragraphs.isEmpty());
}

/// The number of runs and paragraphs.
qsizetype piecesOf(const RichTextDocument &document) {
    qsizetype pieces = document.paragraphs.size();
    for (const RichTextParagraph &paragraph : document.paragraphs) {
        pieces += paragraph.runs.size();
    }
    return pieces;
}

/// Text of whatever length, and what is left of it without the places where lines and paragraphs end.
struct LongText {
    const char *name;
    QByteArray body;
    QString text;
};

QString withoutLineEnds(QString text) {
    return text.remove(u'\n');
}

/// Each of one paragraph that is some hundred times too long for one.
std::vector<LongText> longParagraphs() {
    constexpr int kCount = 100'000;
    const auto repeated = [](QStringView text) { return text.toString().repeated(kCount); };
    return {
        {"bold on and off", QByteArray("\\b a\\b0 b").repeated(kCount / 4), repeated(u"ab").first(kCount / 2)},
        {"bold words", QByteArray("\\b a \\b0 b ").repeated(kCount / 4), repeated(u"a b ").first(kCount)},
        {"one word", QByteArray(kCount, 'a'), repeated(u"a")},
        {"words", QByteArray("word ").repeated(kCount), repeated(u"word ")},
        {"lines", QByteArray("a line\\line ").repeated(kCount / 4), repeated(u"a line").first(kCount / 4 * 6)},
        {"tabs", QByteArray(kCount, '\t'), repeated(u"\t")},
        {"marks on a letter", "a" + QByteArray("\\u769?").repeated(kCount), u"a"_qs + repeated(u"\u0301")},
        {"pairs", QByteArray("\\u-10179?\\u-8704?").repeated(kCount), repeated(u"\U0001F600")},
        {"halves of pairs", QByteArray("\\u-8704?").repeated(kCount), repeated(u"\uFFFD")},
        {"pairs in two formats", QByteArray("\\b\\u-10179?\\b0\\u-8704?").repeated(kCount / 4),
         repeated(u"\uFFFD").first(kCount / 2)},
    };
}

qsizetype unitsOf(const RichTextParagraph &paragraph) {
    qsizetype units = 0;
    for (const RichTextRun &run : paragraph.runs) {
        units += run.text.size();
    }
    return units;
}

TEST(RichText, PartsLongParagraphsAndLosesNothing) {
    for (const LongText &row : longParagraphs()) {
        const RichTextDocument document = parsed(row.body);
        EXPECT_FALSE(document.isCut) << row.name;
        EXPECT_LE(document.paragraphs.size(), 200) << row.name;
        EXPECT_EQ(withoutLineEnds(plainText(document)), row.text) << row.name;
        for (const RichTextParagraph &paragraph : document.paragraphs) {
            ASSERT_LE(unitsOf(paragraph), kMaxParagraphUnits) << row.name;
            ASSERT_LE(paragraph.runs.size(), kMaxParagraphRuns) << row.name;
        }
    }
}

/// How often characters of one direction follow ones of another.
qsizetype turnsOf(const RichTextParagraph &paragraph) {
    qsizetype turns = 0;
    QChar last;
    for (const RichTextRun &run : paragraph.runs) {
        for (const QChar unit : run.text) {
            turns += !last.isNull() && unit.direction() != last.direction() ? 1 : 0;
            last = unit;
        }
    }
    return turns;
}

TEST(RichText, PartsParagraphsThatTurnTooOften) {
    const QByteArray bodies[] = {
        "\\u1488?a",                 // to the left and to the right
        "\\u1488?1",                 // and numbers
        "\\u1576?\\u1633?",          // of either kind
        "\\u8235?a\\u8234?\\u1488?", // embedded
        "\\u8295?a\\u8294?\\u1488?", // isolated
        "\\u-10238?\\u-8960?a",      // in pairs
        "{\\b\\u1488?}a",            // in two formats
    };
    for (const QByteArray &body : bodies) {
        const RichTextDocument document = parsed(body.repeated(10'000));
        EXPECT_FALSE(document.isCut) << body.toStdString();
        EXPECT_EQ(withoutLineEnds(plainText(document)), textOf(body).repeated(10'000)) << body.toStdString();
        for (const RichTextParagraph &paragraph : document.paragraphs) {
            ASSERT_LE(turnsOf(paragraph), kMaxParagraphRuns) << body.toStdString();
        }
    }
}

TEST(RichText, PartsParagraphsThatChangeTheirScriptTooOften) {
    EXPECT_GE(parsed(QByteArray("\\u1073?a").repeated(10'000)).paragraphs.size(), 20'000 / kMaxParagraphRuns);
}

TEST(RichText, LeavesParagraphsOfUsualLengthWhole) {
    const QByteArray japanese = "\\u26412?\\u12381?"; // two scripts, as everywhere in it
    const QByteArray hebrew = "\\u1488?\\u1489?, 1.2 (a) ";
    EXPECT_EQ(parsed(japanese.repeated(1000)).paragraphs.size(), 1);
    EXPECT_EQ(parsed(hebrew.repeated(40)).paragraphs.size(), 1);
    EXPECT_EQ(parsed(QByteArray("1.2 a ").repeated(300)).paragraphs.size(), 1); // goes in one direction
    EXPECT_EQ(parsed(QByteArray("word ").repeated(kMaxParagraphUnits / 2 / 5)).paragraphs.size(), 1);
    EXPECT_EQ(parsed(QByteArray("\\b a \\b0 b ").repeated(kMaxParagraphRuns / 2 / 2 - 1)).paragraphs.size(), 1);
    EXPECT_EQ(parsed(QByteArray(kMaxParagraphUnits / 2, 'a')).paragraphs.size(), 1);
}

TEST(RichText, PartsALongParagraphAtTheBestPlace) {
    const auto secondPart = [](const QByteArray &body) {
        const RichTextDocument document = parsed(body);
        return document.paragraphs.size() < 2 ? QString() : document.paragraphs[1].runs.first().text;
    };
    const QByteArray words = QByteArray("ab ").repeated(kMaxParagraphUnits / 4 / 3 + 1);
    EXPECT_EQ(secondPart(words + "c\\line d e"), u"d e"_qs);
    EXPECT_TRUE(secondPart(words.repeated(3)).startsWith(u"ab "_qs));
    EXPECT_TRUE(secondPart(QByteArray(kMaxParagraphUnits, 'a') + "\\u769?").endsWith(u"a\u0301"_qs));
    EXPECT_EQ(secondPart(QByteArray(kMaxParagraphUnits / 4 * 3 - 1, 'a') + "\\u769?\\u769?b"), u"b"_qs);
}

TEST(RichText, APartLooksLikeTheNextLine) {
    const auto paragraphs =
        parsed("\\qc\\li720\\fi-360\\sb200\\sa300 " + QByteArray("word ").repeated(3000) + "\\par next").paragraphs;
    ASSERT_EQ(paragraphs.size(), 5);
    const qsizetype last = paragraphs.size() - 2;
    for (qsizetype i = 0; i < paragraphs.size(); ++i) {
        const bool isBegin = i == 0 || i > last;
        EXPECT_EQ(paragraphs[i].alignment, RichTextAlignment::Center);
        EXPECT_EQ(paragraphs[i].leftIndentPoints, 36.0);
        EXPECT_EQ(paragraphs[i].firstLineIndentPoints, isBegin ? -18.0 : 0.0) << i;
        EXPECT_EQ(paragraphs[i].spaceBeforePoints, isBegin ? 10.0 : 0.0) << i;
        EXPECT_EQ(paragraphs[i].spaceAfterPoints, i >= last ? 15.0 : 0.0) << i;
    }
}

TEST(RichText, KeepsWithinItsLimitsAndSaysSo) {
    constexpr qsizetype kMostPieces = kMaxRichTextPieces + 6; // the last run and paragraph, and the mark
    const QString mark = u"[\u2026]"_qs;
    const QByteArray bodies[] = {
        QByteArray("\\par").repeated(300'000),
        QByteArray("\\b a\\b0 b").repeated(100'000),
        QByteArray("\\u1488?a").repeated(100'000), // two directions
        QByteArray("\\u1073?a").repeated(100'000), // two scripts
        QByteArray(5 << 20, 'a'),
        "\\b " + QByteArray(3 << 20, 'a') + "\\b0 " + QByteArray(3 << 20, '\xE4'),
        "a{\\pict " + QByteArray(kMaxRichTextBytes, 'a') + "}b",
    };
    for (const QByteArray &body : bodies) {
        const RichTextDocument document = parsed(body);
        EXPECT_TRUE(document.isCut);
        EXPECT_LE(piecesOf(document), kMostPieces);
        EXPECT_LE(withoutLineEnds(plainText(document)).size(), kMaxRichTextUnits + mark.size());
        EXPECT_EQ(document.paragraphs.last().runs.first().text, mark);
    }
}

double heightOf(const RichTextDocument &document) {
    double height = 0;
    for (const RichTextParagraph &paragraph : document.paragraphs) {
        height += shownHeight(paragraph);
    }
    return height;
}

TEST(RichText, IsCutWhereItGrowsTooTall) {
    constexpr double kHighestParagraph = kMaxParagraphUnits * 96 * 1.5 * 2;
    const QByteArray bodies[] = {
        "\\sb31680\\sa31680 " + QByteArray("a\\par ").repeated(20'000),
        "\\fs48 " + QByteArray("a\\line ").repeated(480'000),
        "\\li31680\\ri31680 " + QByteArray(kMaxRichTextUnits, 'a'),
        "\\fi31680 " + QByteArray("aaaaaaaaaaaaaaaaaaaaaaaa\\par ").repeated(45'000),
        "\\fs800 " + QByteArray(kMaxRichTextUnits, 'W'),
        QByteArray("\\fs192 a\\fs2\\tab\\tab\\tab\\tab").repeated(40'000),
        QByteArray("\\u65018?").repeated(kMaxRichTextUnits), // ligatures of 18 letters and more
        QByteArray("\\u65021?").repeated(kMaxRichTextUnits),
    };
    for (const QByteArray &body : bodies) {
        const RichTextDocument document = parsed(body);
        EXPECT_TRUE(document.isCut) << body.first(40).toStdString();
        EXPECT_EQ(document.paragraphs.last().runs.first().text, u"[\u2026]"_qs) << body.first(40).toStdString();
        EXPECT_GE(heightOf(document), kMaxRichTextHeightPoints) << body.first(40).toStdString();
        EXPECT_LE(heightOf(document), kMaxRichTextHeightPoints + kHighestParagraph) << body.first(40).toStdString();
    }
}

TEST(RichText, KeepsSpacesWithinTwoInches) {
    const RichTextParagraph paragraph = parsed("\\sb31680\\sa2881 a").paragraphs.first();
    EXPECT_EQ(paragraph.spaceBeforePoints, 144.0);
    EXPECT_EQ(paragraph.spaceAfterPoints, 144.0);
}

TEST(RichText, IsNotCutAtItsLimits) {
    EXPECT_FALSE(parsed(QByteArray(kMaxRichTextUnits, 'a')).isCut);
    EXPECT_FALSE(parsed(QByteArray(kMaxRichTextUnits, 'a') + "{\\v b}{\\pict 00}").isCut);
    EXPECT_TRUE(parsed(QByteArray(kMaxRichTextUnits, 'a') + "b").isCut);
    EXPECT_FALSE(parsed("a{\\pict " + QByteArray(kMaxRichTextBytes / 2, 'a') + "}b").isCut);
    EXPECT_FALSE(parsed("a}" + QByteArray(kMaxRichTextBytes, '\n')).isCut); // nothing but what lies behind it
    EXPECT_EQ(textOf("{\\fonttbl\\f0 " + QByteArray(5 << 20, 'a') + ";}\\f0 b"), u"b"_qs);
    EXPECT_EQ(textOf("{\\pict " + QByteArray(9 << 20, 'a') + "}b"), u"b"_qs);
}

/// The least processor time of some that reading \p body takes.
std::clock_t costOf(const QByteArray &body) {
    std::clock_t least = std::numeric_limits<std::clock_t>::max();
    for (int i = 0; i < 5; ++i) {
        const std::clock_t begin = std::clock();
        parsed(body);
        least = std::min(least, std::clock() - begin);
    }
    return least;
}

TEST(RichText, HiddenBytesCostNoMoreThanPassedOverOnes) {
    const QByteArray bytes = QByteArray("\\'e4\\b").repeated(50'000);
    const std::clock_t leftOut = costOf("{\\pict" + bytes + "}");
    EXPECT_LE(costOf("{\\v" + bytes + "}"), 4 * leftOut);
    EXPECT_LE(costOf("{\\deleted" + bytes + "}"), 4 * leftOut);
}

/// A table of as many fonts.
QByteArray fontTable(int count) {
    QByteArray fonts;
    for (int i = 0; i < count; ++i) {
        fonts += "\\f" + QByteArray::number(i) + " Font " + QByteArray::number(i) + ";";
    }
    return "{\\fonttbl" + fonts + "}";
}

using Face = std::tuple<QStringList, double, bool, bool>;

std::set<Face> facesOf(const RichTextDocument &document) {
    std::set<Face> faces;
    for (const RichTextParagraph &paragraph : document.paragraphs) {
        for (const RichTextRun &run : paragraph.runs) {
            faces.emplace(run.fontFamilies, run.sizePoints, run.bold, run.italic);
        }
    }
    return faces;
}

TEST(RichText, KeepsItsFacesWithinTheirLimit) {
    constexpr qsizetype kPlainFaces = 4; // bold or not, italic or not
    for (const char *word : {"\\f", "\\fs", "\\b\\f", "\\i\\fs"}) {
        QByteArray body;
        for (int i = 0; i < 2000; ++i) {
            body += word + QByteArray::number(i + 1) + "a";
        }
        const RichTextDocument document = parsed(fontTable(2002) + body + "\\plain b");
        EXPECT_GE(std::ssize(facesOf(document)), kMaxRichTextFaces) << word;
        EXPECT_LE(std::ssize(facesOf(document)), kMaxRichTextFaces + kPlainFaces) << word;
        EXPECT_FALSE(document.isCut) << word;
    }
}

TEST(RichText, CountsAFontForEachOfItsScripts) {
    const char letters[] = "a\\u945?\\u1073?\\u1377?\\u1488?\\u1576?\\u2325?\\u3585?\\u4304?\\u26412?";
    constexpr qsizetype kScripts = 10;
    QByteArray body;
    for (int i = 0; i < 60; ++i) {
        body += "\\f" + QByteArray::number(i) + " " + letters;
    }
    const QVector<RichTextRun> runs = runsOf(fontTable(60) + body);
    const auto isPlain = [](const RichTextRun &run) { return run.fontFamilies.isEmpty(); };
    const qsizetype fonts = std::find_if(runs.begin(), runs.end(), isPlain) - runs.begin();
    EXPECT_EQ(fonts, kMaxRichTextFaces / kScripts);
    EXPECT_TRUE(std::all_of(runs.begin() + fonts, runs.end(), isPlain));
}

TEST(RichText, CountsNoScriptForDigitsAmongLetters) {
    QByteArray body;
    for (int i = 0; i < kMaxRichTextFaces; ++i) {
        body += "\\f" + QByteArray::number(i) + " a, 1";
    }
    EXPECT_FALSE(runsOf(fontTable(kMaxRichTextFaces) + body).last().fontFamilies.isEmpty());
}

TEST(RichText, CountsNoTurnWithinACharacterOfTwoUnits) {
    EXPECT_FALSE(parsed(QByteArray("\\u1488?\\u-10179?\\u-8704?").repeated(60'000)).isCut);
}

TEST(RichText, KeepsTheFacesThatCameFirst) {
    QByteArray body;
    for (int i = 0; i < 300; ++i) {
        body += "\\f" + QByteArray::number(i) + "\\fs30 a";
    }
    const auto runs = runsOf(fontTable(300) + body + "\\f7 b\\f299 c");
    ASSERT_GT(runs.size(), 300);
    EXPECT_EQ(runs[7].fontFamilies, QStringList(u"Font 7"_qs));
    EXPECT_EQ(runs[7].sizePoints, 15.0);
    EXPECT_EQ(runs[200].fontFamilies, QStringList());
    EXPECT_EQ(runs[200].sizePoints, 12.0);
    EXPECT_EQ(runs[300].fontFamilies, QStringList(u"Font 7"_qs));
}

TEST(RichText, KeepsItsTablesWithinTheirLimits) {
    QByteArray fonts;
    QByteArray colors;
    for (int i = 0; i < 20'000; ++i) {
        fonts += "\\f" + QByteArray::number(i) + " F;";
        colors += "\\red1;";
    }
    const auto runs = runsOf("{\\fonttbl" + fonts + "}{\\colortbl" + colors + "}\\f1\\cf1 a\\f19999\\cf19999 b");
    ASSERT_EQ(runs.size(), 2);
    EXPECT_EQ(runs[0].fontFamilies, QStringList(u"F"_qs));
    EXPECT_EQ(runs[0].colorRgb, 0x010000u);
    EXPECT_EQ(runs[1].fontFamilies, QStringList());
    EXPECT_EQ(runs[1].colorRgb, std::nullopt);
}

} // namespace
} // namespace kyb
