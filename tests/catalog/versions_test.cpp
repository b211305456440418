#include "catalog/versions.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    const char *shows;
    QByteArray list;
    const char *version; ///< null: none
};

class VersionList : public ::testing::TestWithParam<Row> {};

TEST_P(VersionList, GivesTheVersionOnOffer) {
    const std::optional<QString> version = kyb::availableVersion(GetParam().list);
    ASSERT_EQ(version.has_value(), GetParam().version != nullptr);
    if (version) {
        EXPECT_EQ(*version, QString::fromUtf8(GetParam().version));
    }
}

const QByteArray kUtf16("\xff\xfe"
                        "B\0r\0e\0l\0u\0n\0d\0=\0"
                        "1\0",
                        20);

INSTANTIATE_TEST_SUITE_P(
    Rows, VersionList,
    ::testing::Values(Row{"OneLine", "Brelund Quorlix Driver=1.2.3", "1.2.3"},
                      Row{"AmongOthers", "Other=9\nBrelund Quorlix Driver=1.2.3\nMore=8\n", "1.2.3"},
                      Row{"WindowsLineEnds", "Other=9\r\nBrelund Quorlix Driver=1.2.3\r\n", "1.2.3"},
                      Row{"OldMacLineEnds", "Other=9\rBrelund Quorlix Driver=1.2.3\r", "1.2.3"},
                      Row{"UnicodeLineEnds",
                          "Other=9\xe2\x80\xa8"
                          "Brelund Quorlix Driver=1.2.3\xe2\x80\xa9",
                          "1.2.3"},
                      Row{"FirstOfTwoWins", "Brelund Quorlix Driver=1\nBrelund Quorlix Driver=2\n", "1"},
                      Row{"LeadingBlanksDoNotMatch", "  Brelund Quorlix Driver=1.2.3\n", nullptr},
                      Row{"CaseMatters", "brelund quorlix driver=1.2.3\n", nullptr},
                      Row{"BlankBeforeTheSignDoesNotMatch", "Brelund Quorlix Driver =1.2.3\n", nullptr},
                      Row{"LastPieceCounts", "Brelund Quorlix Driver=1.0=beta\n", "beta"},
                      Row{"EmptyVersion", "Brelund Quorlix Driver=\n", ""},
                      Row{"BlanksOfTheVersionAreKept", "Brelund Quorlix Driver= 1 \n", " 1 "},
                      Row{"EmptyFile", "", nullptr}, Row{"NoEntry", "Other=9\n", nullptr},
                      Row{"Utf16IsNotRead", kUtf16, nullptr},
                      Row{"InvalidUtf8GivesNoLines", "Brelund Quorlix Driver=1\n\xff\n", nullptr},
                      Row{"ByteOrderMark",
                          "\xef\xbb\xbf"
                          "Brelund Quorlix Driver=1.2.3\n",
                          "1.2.3"},
                      Row{"NonAsciiVersion", "Brelund Quorlix Driver=1\xc3\xa4\n", "1\xc3\xa4"}),
    [](const auto &row) { return row.param.shows; });

struct NumbersRow {
    const char *text;
    std::int32_t major;
    std::int32_t minor;
};

TEST(SystemVersion, ReadsTheFirstTwoNumbers) {
    const NumbersRow rows[] = {
        {"10.15.7", 10, 15},
        {"13.1", 13, 1},
        {"13", 13, 0},
        {"", 0, 0},
        {".5", 0, 5},
        {"11b.2c", 11, 2},
        {"x.y", 0, 0},
        {" 12. 3", 12, 3},
        {"-4.+6", -4, 6},
        {"4294967297.1", 1, 1},
        {"99999999999999999999.0", -1, 0},
    };
    for (const NumbersRow &row : rows) {
        const kyb::SystemVersion version = kyb::parseSystemVersion(QString::fromLatin1(row.text));
        EXPECT_EQ(version.major, row.major) << row.text;
        EXPECT_EQ(version.minor, row.minor) << row.text;
    }
}

} // namespace
