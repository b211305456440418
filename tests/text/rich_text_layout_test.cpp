#include "text/rich_text_layout.h"

#include <gmock/gmock.h>

namespace kyb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

RichTextParagraph paragraphOf(const QString &text, double sizePoints = 12) {
    RichTextRun run;
    run.text = text;
    run.sizePoints = sizePoints;
    RichTextParagraph paragraph;
    paragraph.runs = {run};
    return paragraph;
}

RichTextParagraph indented(double left, double firstLine, double right, qsizetype letters = 0) {
    RichTextParagraph paragraph = paragraphOf(QString(letters, u'a'));
    paragraph.leftIndentPoints = left;
    paragraph.firstLineIndentPoints = firstLine;
    paragraph.rightIndentPoints = right;
    return paragraph;
}

std::array<double, 3> indentsOf(double left, double firstLine, double right) {
    const RichTextIndents indents = shownIndents(indented(left, firstLine, right));
    return {indents.left, indents.firstLine, indents.right};
}

TEST(RichTextLayout, NoIndentLeadsOutOfTheNarrowestView) {
    EXPECT_THAT(indentsOf(36, -18, 10), ElementsAre(36, -18, 10));
    EXPECT_THAT(indentsOf(-5, 0, -1), ElementsAre(0, 0, 0));
    EXPECT_THAT(indentsOf(216, 0, 72), ElementsAre(216, 0, 72));
    EXPECT_THAT(indentsOf(217, 0, 73), ElementsAre(216, 0, 72));
    EXPECT_THAT(indentsOf(36, -37, 0), ElementsAre(36, -36, 0));
    EXPECT_THAT(indentsOf(36, 181, 0), ElementsAre(36, 180, 0));
}

TEST(RichTextLayout, SizesAreFromFourToNinetySix) {
    const auto shown = [](double points) { return shownSize(paragraphOf({}, points).runs.first()); };
    EXPECT_EQ(shown(3.5), 4.0);
    EXPECT_EQ(shown(4.5), 4.5);
    EXPECT_EQ(shown(95.5), 95.5);
    EXPECT_EQ(shown(96.5), 96.0);
}

TEST(RichTextLayout, ALineIsOneAndAHalfTimesItsGreatestSizeHigh) {
    EXPECT_EQ(shownHeight(RichTextParagraph()), 18.0) << "an empty line is of 12 points";
    EXPECT_EQ(shownHeight(paragraphOf(u"a"_qs, 6)), 18.0);
    RichTextParagraph paragraph = paragraphOf(u"a"_qs, 24);
    EXPECT_EQ(shownHeight(paragraph), 36.0);
    paragraph.runs.append(paragraphOf(u"a"_qs, 30).runs);
    paragraph.runs.append(paragraphOf(u"a"_qs, 12).runs);
    paragraph.spaceBeforePoints = 3;
    paragraph.spaceAfterPoints = 4;
    EXPECT_EQ(shownHeight(paragraph), 3 + 45.0 + 4);
}

/// Lines of 12 points, from their height.
double linesOf(const RichTextParagraph &paragraph) {
    return shownHeight(paragraph) / 18;
}

TEST(RichTextLayout, ALineBreaksWhereTheNarrowestViewEnds) {
    EXPECT_EQ(linesOf(indented(0, 0, 0, 29)), 1);
    EXPECT_EQ(linesOf(indented(0, 0, 0, 30)), 2);
    EXPECT_EQ(linesOf(indented(0, 0, 0, 60)), 3);
    EXPECT_EQ(linesOf(paragraphOf(u"a\u2028b\u2028"_qs)), 3);
    RichTextParagraph two = indented(0, 0, 0, 15);
    two.runs.append(indented(0, 0, 0, 15).runs);
    EXPECT_EQ(linesOf(two), 2) << "runs stand in one line";
}

TEST(RichTextLayout, IndentsMakeTheColumnNarrower) {
    for (const auto &[left, firstLine, right] :
         {std::array<double, 3>{180, 0, 0}, {0, 180, 0}, {180, -90, 0}, {108, 0, 72}}) {
        EXPECT_EQ(linesOf(indented(left, firstLine, right, 14)), 1) << left << ' ' << firstLine << ' ' << right;
        EXPECT_EQ(linesOf(indented(left, firstLine, right, 15)), 2) << left << ' ' << firstLine << ' ' << right;
    }
}

TEST(RichTextLayout, ALigatureIsAsWideAsItsLetters) {
    const auto linesOfMany = [](char16_t unit, qsizetype count) { return linesOf(paragraphOf(QString(count, unit))); };
    EXPECT_EQ(linesOfMany(u'\uFB03', 9), 1) << "ffi";
    EXPECT_EQ(linesOfMany(u'\uFB03', 10), 2);
    EXPECT_EQ(linesOfMany(u'\u00E9', 29), 1) << "a letter with its accent is no ligature";
    EXPECT_EQ(linesOfMany(u'\uFDFD', 1), 1) << "of 18 letters";
    EXPECT_EQ(linesOfMany(u'\uFDFD', 5), 4);
    EXPECT_EQ(linesOfMany(u'\t', 1), 1) << "of 216 points";
    EXPECT_EQ(linesOfMany(u'\t', 5), 4);
}

TEST(RichTextLayout, FindsTheScriptsOfAText) {
    EXPECT_THAT(scriptsOf({}), IsEmpty());
    EXPECT_THAT(scriptsOf(u"1 2"_qs), ElementsAre(QChar::Script_Common));
    EXPECT_THAT(scriptsOf(u"\u0301"_qs), ElementsAre(QChar::Script_Common)) << "a mark takes that of its letter";
    EXPECT_THAT(scriptsOf(u"a 1"_qs), ElementsAre(QChar::Script_Latin));
    EXPECT_THAT(scriptsOf(u"a\u03B1 1"_qs), ElementsAre(QChar::Script_Latin, QChar::Script_Greek));
    EXPECT_THAT(scriptsOf(u"\U00010330"_qs), ElementsAre(QChar::Script_Gothic));
}

/// One letter a character: none, within Japanese, other.
std::string turnsIn(const char32_t *text) {
    std::string letters;
    TextTurns turns;
    for (; *text != 0; ++text) {
        letters += "njo"[static_cast<int>(turns.before(*text))];
    }
    return letters;
}

struct Turns {
    const char *name;
    const char32_t *text;
    const char *turns;
};

void PrintTo(const Turns &row, std::ostream *stream) {
    *stream << row.name;
}

class TurnsOfText : public testing::TestWithParam<Turns> {};

TEST_P(TurnsOfText, AreThese) {
    EXPECT_EQ(turnsIn(GetParam().text), GetParam().turns);
}

INSTANTIATE_TEST_SUITE_P(
    All, TurnsOfText,
    testing::Values(Turns{"Nothing", U"", ""}, Turns{"Words", U"a1 b\u00E4", "nnnnn"},
                    Turns{"ToTheRightAndBack", U"a\u05D0 b", "nono"}, Turns{"NumbersGoAlongToTheRight", U"a1b", "nnn"},
                    Turns{"NumbersTurnAmongHebrew", U"\u05D01 \u05D0", "nono"},
                    Turns{"NumbersAtTheBegin", U"1 \u05D0", "nnn"}, Turns{"ArabicDigits", U"\u0627\u0660\u0627", "noo"},
                    Turns{"ArabicIsOfTheDirectionOfHebrew", U"\u0627 \u0627\u05D0", "nnno"},
                    Turns{"Scripts", U"a\u03B1 \u03B2\u0431", "nonno"},
                    Turns{"Marks", U"a\u0301\u00AD\u200Eb", "nnnnn"},
                    Turns{"Japanese", U"\u6F22\u304B\u30AB\u6F22 1\u304B", "njjjnnj"},
                    Turns{"JapaneseAndOthers", U"\u6F22a\u304B\uAC00", "nooo"},
                    Turns{"Embeddings", U"\u202A\u202B\u202C", "ooo"}, Turns{"Overrides", U"\u202D\u202E\u202C", "ooo"},
                    Turns{"Isolates", U"\u2066\u2067\u2068\u2069", "oooo"}),
    [](const auto &row) { return row.param.name; });

} // namespace
} // namespace kyb
