#include "catalog/version_list.h"

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

} // namespace
