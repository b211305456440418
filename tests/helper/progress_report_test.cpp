#include "ProgressReport.h"

#include "support/RootFolder.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace kyb::helper {
namespace {

constexpr char kFiller[] = "installer:STATUS:\n";

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
    report_.finish();
    EXPECT_EQ(content(), "no end\nInstallation_Done\n");
}

TEST_F(ProgressReportTest, WritesALongLineWithoutWaitingForItsEnd) {
    const std::string part(70'000, 'x');
    report_.addOutput(part);
    EXPECT_EQ(content(), part);
    report_.finish();
    EXPECT_EQ(content(), part + "\nInstallation_Done\n");
}

TEST_F(ProgressReportTest, KeepsBytesThatAreNoText) {
    const std::string bytes("\xff\xfe\0\x80 text\n", 10);
    report_.addOutput(bytes);
    EXPECT_EQ(content(), bytes);
}

TEST_F(ProgressReportTest, TellsTheReasonWhereTheOutputToldNone) {
    report_.addOutput("installer:PHASE:Preparing\nhalf");
    report_.announceFailure("exit status 3");
    EXPECT_EQ(content(), "installer:PHASE:Preparing\nhalf\ninstaller: The install failed (exit status 3)\n" +
                             std::string(kFiller));
}

TEST_F(ProgressReportTest, LeavesAnOwnFailureTextThatIsTheLastLine) {
    report_.addOutput("installer: The upgrade failed (because)\n");
    report_.announceFailure("exit status 1");
    EXPECT_EQ(content(), "installer: The upgrade failed (because)\n" + std::string(kFiller));
}

TEST_F(ProgressReportTest, RepeatsAnOwnFailureTextThatOtherLinesFollow) {
    const std::string own = "x installer: Error - the package path specified was invalid: '/a'.\n";
    report_.addOutput(own + "goodbye\n");
    report_.announceFailure("exit status 1");
    EXPECT_EQ(content(), own + "goodbye\n" + own + kFiller);
}

TEST_F(ProgressReportTest, RepeatsAnOwnFailureTextWhereTheReaderSeesIt) {
    report_.addOutput(std::string(2000, 'x') + "installer: The install failed (deep)\n");
    const std::string before = content();
    report_.announceFailure("exit status 1");
    EXPECT_EQ(content(), before + "installer: The install failed (deep)\n" + kFiller);
}

TEST_F(ProgressReportTest, RepeatsAFailureTextThatEndsAnEndlessLine) {
    report_.addOutput(std::string(70'000, 'x'));
    report_.addOutput("installer: The install failed (far)\n");
    const std::string before = content();
    report_.announceFailure("exit status 1");
    EXPECT_EQ(content(), before + "installer: The install failed (far)\n" + kFiller);
}

TEST_F(ProgressReportTest, AnnouncesAnewWhenTheFileWasTakenAway) {
    report_.addOutput("installer: The install failed (own)\n");
    report_.announceFailure("signal 9");
    EXPECT_EQ(report_.checkAnnouncement("signal 9"), ProgressReport::Announcement::InPlace);
    std::filesystem::remove(root_.progressFile());
    EXPECT_EQ(report_.checkAnnouncement("signal 9"), ProgressReport::Announcement::MadeAnew);
    report_.finish();
    EXPECT_EQ(content(), "installer: The install failed (own)\n" + std::string(kFiller) + "Installation_Done\n");
}

TEST_F(ProgressReportTest, RepeatsAnOwnLastLineThatWentWithTheFile) {
    report_.addOutput("installer: The install failed (own)\n");
    std::filesystem::remove(root_.progressFile());
    report_.announceFailure("signal 9");
    EXPECT_EQ(content(), "installer: The install failed (own)\n" + std::string(kFiller));
}

TEST_F(ProgressReportTest, IsLostWhenTheFileCannotBeWritten) {
    std::filesystem::remove(root_.progressFile());
    std::filesystem::create_directory(root_.progressFile());
    EXPECT_FALSE(report_.isLost());
    report_.addOutput("line\n");
    EXPECT_TRUE(report_.isLost());
    report_.announceFailure("signal 9");
    report_.finish();
    EXPECT_TRUE(report_.isLost());
}

} // namespace
} // namespace kyb::helper
