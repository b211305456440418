#include "helper_log.h"

#include "posix/UniqueFd.h"
#include "support/CapturedErrors.h"
#include "support/RootFolder.h"

#include <gmock/gmock.h>
#include <string>

using testing::EndsWith;
using testing::StartsWith;

namespace kyb::helper {
namespace {

constexpr std::size_t kMaxBytes = std::size_t{1} << 20;

/// A log as the helper gets it: its standard error, which it can write but not read.
class HelperLog : public testing::Test {
protected:
    /// What the log holds after a line, when it held \p bytes before.
    std::string logAfterLine(std::size_t bytes, int flags = O_APPEND) {
        test::writeText(file_, std::string(bytes, 'x'));
        const test::CapturedErrors log(file_, flags);
        logLine("Ready.");
        return test::contentOf(file_);
    }

    const test::TempFolder folder_;
    const std::string file_ = folder_ / "log";
    const std::size_t lineBytes_ = logAfterLine(0).size();
};

TEST_F(HelperLog, GetsDatedLines) {
    EXPECT_THAT(logAfterLine(0), testing::MatchesRegex("....-..-..T..:..:..Z .[0-9]+. Ready[.]\n"));
}

TEST_F(HelperLog, IsKeptAsLongAsALineHasRoom) {
    const std::string log = logAfterLine(kMaxBytes - lineBytes_);
    EXPECT_EQ(log.size(), kMaxBytes);
    EXPECT_THAT(log, EndsWith(" Ready.\n"));
}

TEST_F(HelperLog, IsBegunAnewByALineThatHasNone) {
    for (const std::size_t bytes : {kMaxBytes - lineBytes_ + 1, 3 * kMaxBytes}) {
        const std::string log = logAfterLine(bytes);
        EXPECT_EQ(log.size(), lineBytes_);
        EXPECT_THAT(log, EndsWith(" Ready.\n"));
    }
}

TEST_F(HelperLog, TakesALineThatIsLongerThanALogMayBe) {
    logAfterLine(kMaxBytes);
    const test::CapturedErrors log(file_);
    const std::size_t stampBytes = lineBytes_ - std::string("Ready.").size();
    logLine(std::string(kMaxBytes, 'y'));
    EXPECT_EQ(test::contentOf(file_).size(), stampBytes + kMaxBytes);
    logLine("End.");
    EXPECT_EQ(test::contentOf(file_).size(), stampBytes + std::string("End.").size());
}

TEST_F(HelperLog, HasNoHoleWhereAnotherWritesToIt) {
    test::writeText(file_, std::string(kMaxBytes, 'x'));
    const UniqueFd other(open(file_.c_str(), O_WRONLY | O_APPEND));
    const test::CapturedErrors log(file_);
    logLine("Ready.");
    EXPECT_EQ(write(other.get(), "other\n", 6), 6);
    EXPECT_EQ(test::contentOf(file_).size(), lineBytes_ + 6);
}

TEST_F(HelperLog, IsLeftAloneWhereNotEverybodyAppends) {
    const std::string log = logAfterLine(2 * kMaxBytes, 0);
    EXPECT_EQ(log.size(), 2 * kMaxBytes);
    EXPECT_THAT(log.substr(lineBytes_), StartsWith("x"));
}

} // namespace
} // namespace kyb::helper
