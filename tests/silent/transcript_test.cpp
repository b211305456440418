// What installers say on other systems, in other languages and when they fail, played to the real helper and program.

#include "SilentRun.h"

#include "Transcript.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <regex>
#include <sys/stat.h>

namespace {

using testing::AnyOf;
using testing::Each;
using testing::StartsWith;

/// The installer's side: a pipe whose other end the installer prints.
class Player {
public:
    /// Returns when the installer has begun.
    Player(const std::string &pipe, const std::vector<std::string> &lines) : lines_(lines), pipe_(pipe) {}

    /// Prints the first \p count lines, as far as they are not printed: in one piece, so that nobody sees the others
    /// as last ones.
    void playTo(std::size_t count) {
        std::string piece;
        while (played_ < std::min(count, lines_.size())) {
            piece += lines_[played_++];
        }
        pipe_ << piece << std::flush;
    }

    /// As much of that as has a line end.
    std::size_t playedBytes() const {
        std::size_t bytes = 0;
        for (std::size_t i = 0; i < played_; ++i) {
            bytes += lines_[i].ends_with('\n') ? lines_[i].size() : 0;
        }
        return bytes;
    }

    void end() {
        playTo(lines_.size());
        pipe_.close();
    }

private:
    const std::vector<std::string> &lines_;
    std::ofstream pipe_;
    std::size_t played_ = 0;
};

/// The program's standard output, look by look. How often it looks at a line is not known: each look that finds a text
/// counts for the percentage.
class Looks {
public:
    /// How often the program looks in vain before that is a failure: a dozen seconds, on a loaded machine more.
    static constexpr int kMostLooks = 200;

    explicit Looks(kyb::test::Program &program) : program_(program) {}

    /// The program goes on saying what it said until it says \p text.
    void expect(const std::string &text) {
        std::optional<std::string> said = next();
        for (int count = 0; said != text; ++count, said = next()) {
            ASSERT_EQ(said, before_) << "and not yet: " << text;
            ASSERT_LT(count, kMostLooks) << "and not yet: " << text;
        }
        before_ = text;
    }

    /// The program has said nothing so far, and goes on so in looks that begin from now on.
    void expectStillNothing() {
        while (program_.hasUnread()) {
            ASSERT_EQ(next(), "");
        }
        for (int count = 0; count < 3; ++count) { // the one that was read ahead, and one that had begun
            ASSERT_EQ(next(), "");
        }
    }

    bool haveSaidNothing() const { return before_.empty(); }

    /// The program may say \p text, or what it said, and ends.
    void expectEnd(const std::string &text) {
        for (int count = 0; const std::optional<std::string> said = next(); ++count) {
            ASSERT_THAT(*said, AnyOf(before_, text));
            ASSERT_LT(count, kMostLooks) << "and does not end";
        }
    }

    const std::vector<std::string> &texts() const { return texts_; }

private:
    /// A text may have a line end of its own, which leaves an empty line.
    std::optional<std::string> takeLine() {
        std::optional<std::string> line = ahead_ ? ahead_ : program_.readLine();
        ahead_ = line ? program_.readLine() : std::nullopt;
        if (ahead_ == "") {
            *line += '\n';
            ahead_ = program_.readLine();
        }
        return line;
    }

    std::optional<std::string> next() {
        const std::optional<std::string> line = takeLine();
        if (!line) {
            return std::nullopt;
        }
        const std::string text = line->substr(line->find(':') + 1);
        percent_ = text.empty() ? percent_ : std::min(percent_ + 4, 88);
        EXPECT_EQ(*line, std::to_string(percent_) + ':' + text);
        texts_.push_back(text);
        return text;
    }

    kyb::test::Program &program_;
    std::optional<std::string> ahead_;
    std::string before_;
    int percent_ = 10;
    std::vector<std::string> texts_;
};

class TranscriptRun : public SilentRun, public ::testing::WithParamInterface<std::string> {
protected:
    TranscriptRun() {
        putInstaller();
        mkfifo(pipe().c_str(), 0666);
    }

    std::string pipe() const { return root.at("/transcript"); }

    void putSystemInstaller(const std::string &end) const {
        root.putProgram("/usr/sbin/installer", "#!/bin/sh\ncat \"${0%/usr/sbin/installer}/transcript\"\n" + end + '\n');
    }

    /// What the helper has logged after the installer's start, without stamps.
    std::string reply() const {
        const std::string log = helperLog();
        std::smatch match;
        const std::regex last("Start: [^\n]* -verboseR\n[^\n]*\\] ([^\n]*)\n$");
        return std::regex_search(log, match, last) ? match.str(1) : "";
    }

    void expectRecords(const Transcript &transcript) const {
        waitUntil([this] { return kyb::test::contentOf(root.progressFile()).ends_with("Installation_Done\n"); });
        EXPECT_EQ(kyb::test::contentOf(root.progressFile()), transcript.record);
        waitUntil([this] { return !reply().empty(); });
        EXPECT_EQ(reply(), transcript.reply);
    }

    /// The program's own log does not tell what the installer said.
    void expectNothingInTheLog() const {
        const std::vector<std::string> entries = root.logEntries();
        const auto begin = std::find(entries.begin(), entries.end(), "Installing " + package());
        ASSERT_NE(begin, entries.end());
        EXPECT_THAT(std::vector(begin + 1, entries.end()), Each(StartsWith("Received response: ")));
    }
};

TEST_P(TranscriptRun, IsToldAndRecordedAsExpected) {
    const Transcript transcript = readTranscript(GetParam());
    putSystemInstaller(transcript.installersEnd);
    const auto process = start();
    Player player(pipe(), transcript.lines);
    ASSERT_EQ(process->readLine(), "5:PHASE_PrepareInstall");
    Looks looks(*process);
    for (const Transcript::Saying &saying : transcript.sayings) {
        player.playTo(saying.line + 1);
        if (saying.text.empty() && looks.haveSaidNothing()) {
            waitUntil([&] { return kyb::test::contentOf(root.progressFile()).size() >= player.playedBytes(); });
            ASSERT_NO_FATAL_FAILURE(looks.expectStillNothing()) << "of line " << saying.line;
        } else {
            ASSERT_NO_FATAL_FAILURE(looks.expect(saying.text)) << "of line " << saying.line;
        }
    }
    player.end();
    ASSERT_NO_FATAL_FAILURE(looks.expectEnd(transcript.ofLastLine));
    EXPECT_EQ(process->wait(), transcript.status);
    EXPECT_EQ(std::ranges::count(looks.texts(), kInstallFailed), transcript.status);
    EXPECT_TRUE(transcript.status == 0 || looks.texts().back() == kInstallFailed);
    expectRecords(transcript);
    expectNothingInTheLog();
}

std::string testName(const testing::TestParamInfo<std::string> &file) {
    return std::regex_replace(file.param, std::regex("[^A-Za-z0-9]"), "_");
}

INSTANTIATE_TEST_SUITE_P(Files, TranscriptRun, ::testing::ValuesIn(transcriptNames()), testName);

TEST(TranscriptFolder, HoldsTranscripts) {
    EXPECT_GE(transcriptNames().size(), 20U);
}

} // namespace
