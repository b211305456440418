#include "ProgressReport.h"

#include "support/RootFolder.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace kyb::helper {
namespace {

const std::string kBegin = "Installation_"; // of the last line
const std::string kEndOfFile = "Installation_Done\n";

class ProgressReportTest : public testing::Test {
protected:
    std::string content() const { return test::contentOf(root_.progressFile()); }

    test::RootFolder root_;
    ProgressReport report_{*ProgressFile::create(root_.progressFile())};
};

TEST_F(ProgressReportTest, WritesOnlyCompleteLines) {
    report_.addOutput("installer:PHASE:Prep");
    EXPECT_EQ(content(), "");
    report_.addOutput("aring\ninstaller:%1");
    EXPECT_EQ(content(), "installer:PHASE:Preparing\n");
    report_.addOutput("2\n");
    EXPECT_EQ(content(), "installer:PHASE:Preparing\ninstaller:%12\n");
}

TEST_F(ProgressReportTest, EndsALastLineThatHasNoEnd) {
    report_.addOutput("no end");
    report_.succeed();
    EXPECT_EQ(content(), "no end\n" + kEndOfFile);
}

TEST_F(ProgressReportTest, WritesALongLineWithoutWaitingForItsEnd) {
    const std::string part(70'000, 'x');
    report_.addOutput(part);
    EXPECT_EQ(content(), part);
    report_.succeed();
    EXPECT_EQ(content(), part + "\n" + kEndOfFile);
}

TEST_F(ProgressReportTest, HoldsALineOfSixtyFourKibibytesBackAndNoMore) {
    const std::string longest(64 << 10, 'x');
    report_.addOutput(longest);
    EXPECT_EQ(content(), "");
    report_.addOutput("x");
    EXPECT_EQ(content(), longest + "x");
}

TEST_F(ProgressReportTest, KeepsBytesThatAreNoText) {
    const std::string bytes("\xff\xfe\x80 text\n");
    report_.addOutput(bytes);
    EXPECT_EQ(content(), bytes);
}

/// Its reader takes a line for a C string.
TEST_F(ProgressReportTest, NoByteHidesTheRestOfALine) {
    const std::string line("\0a\0installer: The install failed (own)\0\n", 40);
    report_.addOutput(line);
    EXPECT_EQ(report_.fail("exit status 1"), " a installer: The install failed (own) ");
    EXPECT_EQ(content(), " a installer: The install failed (own) \n" + kBegin);
}

TEST_F(ProgressReportTest, NoByteHidesTheRestOfAnEndlessLine) {
    report_.addOutput(std::string(70'000, '\0'));
    EXPECT_EQ(content().find_first_not_of(' '), std::string::npos);
    EXPECT_EQ(content().size(), 70'000U);
}

TEST_F(ProgressReportTest, TellsTheReasonWhereTheOutputToldNone) {
    report_.addOutput("installer:PHASE:Preparing\nhalf");
    report_.fail("exit status 3");
    EXPECT_EQ(content(), "installer:PHASE:Preparing\nhalf\ninstaller: The install failed (exit status 3)\n" + kBegin);
}

TEST_F(ProgressReportTest, LeavesAnOwnFailureTextThatIsTheLastLine) {
    report_.addOutput("installer: The upgrade failed (because)\n");
    report_.fail("exit status 1");
    EXPECT_EQ(content(), "installer: The upgrade failed (because)\n" + kBegin);
}

TEST_F(ProgressReportTest, RepeatsAnOwnFailureTextThatOtherLinesFollow) {
    const std::string own = "x installer: Error - the package path specified was invalid: '/a'.\n";
    report_.addOutput(own + "goodbye\n");
    report_.fail("exit status 1");
    EXPECT_EQ(content(), own + "goodbye\n" + own + kBegin);
}

TEST_F(ProgressReportTest, RepeatsAnOwnFailureTextWhereTheReaderSeesIt) {
    report_.addOutput(std::string(2000, 'x') + "installer: The install failed (deep)\n");
    const std::string before = content();
    report_.fail("exit status 1");
    EXPECT_EQ(content(), before + "installer: The install failed (deep)\n" + kBegin);
}

TEST_F(ProgressReportTest, RepeatsAFailureTextThatEndsAnEndlessLine) {
    report_.addOutput(std::string(70'000, 'x'));
    report_.addOutput("installer: The install failed (far)\n");
    const std::string before = content();
    report_.fail("exit status 1");
    EXPECT_EQ(content(), before + "installer: The install failed (far)\n" + kBegin);
}

TEST_F(ProgressReportTest, AFailureIsTheNextToLastLineForEver) {
    const std::string line = "installer: The install failed (exit status 3)";
    EXPECT_EQ(report_.fail("exit status 3"), line);
    EXPECT_EQ(content(), line + "\n" + kBegin);
    report_.complete();
    EXPECT_EQ(content(), line + "\n" + kEndOfFile);
    report_.complete();
    EXPECT_EQ(content(), line + "\n" + kEndOfFile);
}

TEST_F(ProgressReportTest, NothingIsLeftToCompleteAfterASuccess) {
    report_.succeed();
    report_.complete();
    EXPECT_EQ(content(), kEndOfFile);
}

TEST_F(ProgressReportTest, TellsTheInstallersError) {
    report_.addOutput("installer: Error - first\ninstaller: Error - the disk is full.\ngoodbye\n");
    const std::string line = "installer: The install failed (exit status 1: the disk is full.)";
    EXPECT_EQ(report_.fail("exit status 1"), line);
    EXPECT_TRUE(content().ends_with("goodbye\n" + line + "\n" + kBegin));
}

TEST_F(ProgressReportTest, TellsAnErrorBehindWhatHadNoLineEnd) {
    report_.addOutput("10% installer: Error - the disk is full.\n");
    EXPECT_EQ(report_.fail("exit status 1"), "installer: The install failed (exit status 1: the disk is full.)");
}

TEST_F(ProgressReportTest, TellsAsMuchOfALongErrorAsTheReaderSees) {
    report_.addOutput("installer: Error - " + std::string(5000, 'x') + "\n");
    EXPECT_EQ(report_.fail("exit status 1"),
              "installer: The install failed (exit status 1: " + std::string(800, 'x') + ")");
}

TEST_F(ProgressReportTest, AnOwnFailureTextCountsMoreThanAnError) {
    report_.addOutput("installer: The upgrade failed (own)\ninstaller: Error - other\n");
    EXPECT_EQ(report_.fail("exit status 1"), "installer: The upgrade failed (own)");
}

TEST_F(ProgressReportTest, KeepsAnErrorThatAnOwnFailureTextDoesNotTell) {
    report_.addOutput("installer: Error - the disk is full.\ninstaller: The install failed (own)\n");
    report_.fail("exit status 1");
    EXPECT_EQ(report_.untoldError(), "the disk is full.");
}

TEST_F(ProgressReportTest, KeepsNoErrorThatTheFailureLineTells) {
    report_.addOutput("installer: Error - the package path specified was invalid: '/a'.\n");
    report_.fail("exit status 1");
    EXPECT_EQ(report_.untoldError(), "");
}

struct EndRow {
    const char *shows;
    std::string output;
    bool isFailure;
};
constexpr std::size_t kPieceBytes = 1000;
class ProgressReportEnd : public ProgressReportTest, public testing::WithParamInterface<EndRow> {};

TEST_P(ProgressReportEnd, IsAFailureWhenTheLastLineThatIsNotBlankTellsOne) {
    const std::string_view output = GetParam().output;
    for (std::size_t at = 0; at < output.size(); at += kPieceBytes) {
        report_.addOutput(output.substr(at, kPieceBytes));
    }
    EXPECT_EQ(report_.endsWithFailure(), GetParam().isFailure);
}

const std::string kFailure = "installer: The install failed (own)\n";
const std::string kEndless(70'000, 'x');

INSTANTIATE_TEST_SUITE_P(Rows, ProgressReportEnd,
                         testing::Values(EndRow{"Failure", kFailure, true},
                                         EndRow{"FailureWithoutLineEnd", "installer: The upgrade failed", true},
                                         EndRow{"OtherLines", "a\nb\n", false}, EndRow{"Nothing", "", false},
                                         EndRow{"FailureAndAnotherLine", kFailure + "b\n", false},
                                         EndRow{"FailureAndAnEmptyLine", kFailure + "\n", true},
                                         EndRow{"FailureAndBlanks", kFailure + " \t\r\n\n \n", true},
                                         EndRow{"FailureAndANulByte", kFailure + std::string("\0\n", 2), true},
                                         EndRow{"BeginsAnEndlessLine",
                                                "installer: The install failed (own)" + kEndless + kEndless + "\n",
                                                true},
                                         EndRow{"EndsAnEndlessLine", kEndless + kFailure, true},
                                         EndRow{"BeforeAnEndlessLine", kFailure + kEndless + "\n", false},
                                         EndRow{"AnEndlessLine", kEndless + "\n", false}),
                         [](const auto &row) { return row.param.shows; });

TEST_F(ProgressReportTest, NoLineOfTheOutputIsALastLine) {
    report_.addOutput("Installation_Done\n \u00a0Installation_Done Installation_Done\nInstallation_D");
    report_.addOutput("one\nInstallation_Done");
    EXPECT_EQ(content(), "Installation Done\n \u00a0Installation Done Installation Done\nInstallation Done\n");
    report_.fail("exit status 1");
    EXPECT_EQ(content(), "Installation Done\n \u00a0Installation Done Installation Done\nInstallation Done\n"
                         "Installation Done\ninstaller: The install failed (exit status 1)\n" +
                             kBegin);
}

TEST_F(ProgressReportTest, AnEndlessLineIsNoLastLine) {
    report_.addOutput("Installation_Done" + std::string(70'000, 'x'));
    EXPECT_TRUE(content().starts_with("Installation Done"));
}

TEST_F(ProgressReportTest, AFailureTextOfTheCommandsOwnIsNoLastLine) {
    report_.addOutput("Installation_Done installer: The install failed (own)\nother\n");
    EXPECT_EQ(report_.fail("x"), "Installation Done installer: The install failed (own)");
}

TEST_F(ProgressReportTest, RestoresWhatTheReaderNeeds) {
    report_.addOutput("line\n");
    report_.fail("signal 9");
    const std::string failure = "installer: The install failed (signal 9)\n";
    std::filesystem::remove(root_.progressFile());
    EXPECT_FALSE(report_.isInPlace());
    report_.restore();
    EXPECT_TRUE(report_.isInPlace());
    EXPECT_EQ(content(), failure + kBegin);
    report_.complete();
    EXPECT_EQ(content(), failure + kEndOfFile);
}

TEST_F(ProgressReportTest, CompletesAFileThatWasTakenAway) {
    report_.fail("signal 9");
    std::filesystem::remove(root_.progressFile());
    report_.complete();
    EXPECT_EQ(content(), "installer: The install failed (signal 9)\n" + kEndOfFile);
}

TEST_F(ProgressReportTest, AFileThatWasCutShortIsNoMoreInItsPlace) {
    report_.addOutput("line\n");
    report_.fail("signal 9");
    std::filesystem::resize_file(root_.progressFile(), 0);
    EXPECT_FALSE(report_.isInPlace());
    report_.restore();
    EXPECT_TRUE(report_.isInPlace());
    EXPECT_EQ(content(), "installer: The install failed (signal 9)\n" + kBegin);
}

TEST_F(ProgressReportTest, RestoresASuccess) {
    report_.addOutput("line\n");
    report_.succeed();
    std::filesystem::remove(root_.progressFile());
    report_.restore();
    EXPECT_EQ(content(), kEndOfFile);
}

TEST_F(ProgressReportTest, LeavesTheFileOfAnotherAlone) {
    report_.addOutput("mine\n");
    report_.leaveToOthers();
    report_.addOutput("still mine\n");
    EXPECT_EQ(content(), "mine\nstill mine\n");
    std::filesystem::remove(root_.progressFile());
    root_.write("/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log", "another's\n");
    report_.addOutput("line\n");
    report_.fail("signal 9");
    report_.complete();
    EXPECT_EQ(content(), "another's\n");
    std::filesystem::remove(root_.progressFile());
    report_.restore();
    EXPECT_FALSE(std::filesystem::exists(root_.progressFile()));
    EXPECT_FALSE(report_.isLost());
}

TEST_F(ProgressReportTest, RepeatsAnOwnLastLineThatWentWithTheFile) {
    report_.addOutput("installer: The install failed (own)\n");
    std::filesystem::remove(root_.progressFile());
    report_.fail("signal 9");
    EXPECT_EQ(content(), "installer: The install failed (own)\n" + kBegin);
}

TEST_F(ProgressReportTest, IsLostWhenTheFileCannotBeWritten) {
    std::filesystem::remove(root_.progressFile());
    std::filesystem::create_directories(root_.progressFile() + "/full");
    EXPECT_FALSE(report_.isLost());
    report_.addOutput("line\n");
    EXPECT_TRUE(report_.isLost());
    report_.fail("signal 9");
    report_.complete();
    EXPECT_TRUE(report_.isLost());
}

} // namespace
} // namespace kyb::helper
