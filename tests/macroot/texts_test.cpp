#include "texts.h"

#include <gmock/gmock.h>

namespace kyb::macroot {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Texts, AreSplitAtEachSeparator) {
    EXPECT_THAT(splitText("", ','), IsEmpty());
    EXPECT_THAT(splitText("a", ','), ElementsAre("a"));
    EXPECT_THAT(splitText(",a,,bc,", ','), ElementsAre("", "a", "", "bc", ""));
}

TEST(Texts, HaveTheirAsciiLettersMadeSmall) {
    EXPECT_EQ(lowered("@AZ[`az{\u00c4"), "@az[`az{\u00c4");
}

struct Character {
    const char *name;
    std::string_view bytes;
    std::optional<char32_t> character;
};

void PrintTo(const Character &row, std::ostream *stream) {
    *stream << row.name;
}

class Utf8 : public testing::TestWithParam<Character> {};

/// Something stands behind it, so that one byte too many is seen.
TEST_P(Utf8, IsTakenOffTheFront) {
    const std::string text = std::string(GetParam().bytes) + "~";
    std::string_view rest = text;
    EXPECT_EQ(takeCharacter(rest), GetParam().character);
    EXPECT_EQ(rest, std::string_view(text).substr(GetParam().character ? GetParam().bytes.size() : 1));
}

INSTANTIATE_TEST_SUITE_P(Characters, Utf8,
                         testing::Values(Character{"OfOneByte", "\x7f", 0x7f},
                                         Character{"TheFirstOfTwo", "\xc2\x80", 0x80},
                                         Character{"TheLastOfTwo", "\xdf\xbf", 0x7ff},
                                         Character{"TheFirstOfThree", "\xe0\xa0\x80", 0x800},
                                         Character{"BeforeTheSurrogates", "\xed\x9f\xbf", 0xd7ff},
                                         Character{"BehindTheSurrogates", "\xee\x80\x80", 0xe000},
                                         Character{"TheLastOfThree", "\xef\xbf\xbf", 0xffff},
                                         Character{"TheFirstOfFour", "\xf0\x90\x80\x80", 0x10000},
                                         Character{"TheLastOfAll", "\xf4\x8f\xbf\xbf", 0x10ffff}),
                         [](const auto &row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    NoCharacters, Utf8,
    testing::Values(Character{"AByteThatGoesOn", "\x80", {}}, Character{"TwoBytesForOne", "\xc1\xbf", {}},
                    Character{"ThreeBytesForTwo", "\xe0\x9f\xbf", {}},
                    Character{"FourBytesForThree", "\xf0\x8f\xbf\xbf", {}},
                    Character{"TheFirstSurrogate", "\xed\xa0\x80", {}},
                    Character{"TheLastSurrogate", "\xed\xbf\xbf", {}}, Character{"BeyondAll", "\xf4\x90\x80\x80", {}},
                    Character{"FiveBytes", "\xf8\x88\x80\x80\x80", {}},
                    Character{"TwoBytesOfWhichTheSecondIsMissing", "\xc2", {}},
                    Character{"ThreeBytesOfWhichTheThirdIsMissing", "\xe1\x80", {}},
                    Character{"ALetterInTheMiddle", "\xe1\x61\x80", {}}, Character{"TwoBegins", "\xc3\xc3", {}}),
    [](const auto &row) { return row.param.name; });

TEST(Texts, ArePrintedInALine) {
    EXPECT_EQ(printable(""), "");
    EXPECT_EQ(printable(std::string_view("a\0\n\x1f \x7f~\u00e4", 9)), "a     ~\u00e4");
    EXPECT_EQ(printable("\xff\xed\xa0\x80\u5927"), "\uFFFD\uFFFD\uFFFD\uFFFD\u5927");
    EXPECT_EQ(printable("a\xe1\x80"), "a\uFFFD\uFFFD") << "cut off";
}

} // namespace
} // namespace kyb::macroot
