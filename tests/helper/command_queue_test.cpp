#include "CommandQueue.h"

#include "support/RootFolder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <vector>

namespace kyb::helper {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr char kDone[] = "Installation_Done\n";
constexpr char kFiller[] = "installer:STATUS:\n";

class CommandQueueTest : public testing::Test {
protected:
    enum class Progress { Wanted, NotWanted };

    /// Adds a command; its answers go to `answers_` under its number.
    void add(const std::string &commandLine, Progress progress) {
        const std::size_t number = answers_.size();
        answers_.emplace_back();
        CommandRequest request;
        request.commandLine = commandLine;
        if (progress == Progress::Wanted) {
            request.progressFilePath = root_.progressFile();
        }
        request.answer = [this, number](const std::optional<std::string> &reply) {
            answers_[number].push_back(reply.value_or("dropped"));
            order_.push_back(number);
        };
        queue_.add(std::move(request));
    }

    template <typename Condition> void workUntil(Condition condition) {
        while (!condition()) { // the test's own time limit bounds this
            pollfd output{.fd = queue_.outputFd(), .events = POLLIN, .revents = 0};
            poll(&output, 1, 1);
            queue_.work();
        }
    }

    void workToEnd() {
        workUntil([this] { return queue_.isEmpty(); });
    }

    std::string run(const std::string &commandLine) {
        add(commandLine, Progress::Wanted);
        workToEnd();
        return content();
    }

    std::string content() const { return test::contentOf(root_.progressFile()); }

    using Answers = std::vector<std::string>;

    test::RootFolder root_;
    std::vector<Answers> answers_;
    std::vector<std::size_t> order_;
    CommandQueue queue_{{.silence = 30s, .killGrace = 100ms, .failureHold = 50ms}};
};

TEST_F(CommandQueueTest, MakesTheProgressFileAtOnce) {
    add("sleep 300", Progress::Wanted);
    EXPECT_TRUE(fs::exists(root_.progressFile()));
    queue_.endAll();
    workToEnd();
}

TEST_F(CommandQueueTest, MakesTheProgressFileOfAQueuedCommandAtOnce) {
    add("sleep 300", Progress::NotWanted);
    queue_.work();
    add("true", Progress::Wanted);
    EXPECT_TRUE(fs::exists(root_.progressFile()));
    queue_.endAll();
    workToEnd();
}

TEST_F(CommandQueueTest, EndsASuccessWithTheLastLineAtOnce) {
    CommandQueue strict({.silence = 1h, .killGrace = 1h, .failureHold = 1h});
    bool isAnswered = false;
    strict.add({.commandLine = "echo installer:PHASE:Preparing",
                .progressFilePath = root_.progressFile(),
                .answer = [&](const std::optional<std::string> &) { isAnswered = true; }});
    while (!isAnswered) {
        strict.work();
    }
    EXPECT_EQ(content(), "installer:PHASE:Preparing\n" + std::string(kDone));
}

TEST_F(CommandQueueTest, AnswersWhenTheCommandHasEnded) {
    add("sleep 0.1; exit 3", Progress::NotWanted);
    queue_.work();
    EXPECT_EQ(answers_[0], Answers());
    workToEnd();
    EXPECT_EQ(answers_[0], Answers{"Command finished with status 3"});
}

TEST_F(CommandQueueTest, TellsASignal) {
    EXPECT_EQ(run("kill -9 $$"), "installer: The install failed (signal 9)\n" + std::string(kFiller) + kDone);
    EXPECT_EQ(answers_[0], Answers{"Command was ended by signal 9"});
}

TEST_F(CommandQueueTest, TellsAStatus) {
    EXPECT_EQ(run("echo half; exit 3"),
              "half\ninstaller: The install failed (exit status 3)\n" + std::string(kFiller) + kDone);
}

TEST_F(CommandQueueTest, HoldsAFailureForASecondBeforeTheLastLine) {
    CommandQueue queue({});
    bool isAnswered = false;
    queue.add({.commandLine = "exit 3",
               .progressFilePath = root_.progressFile(),
               .answer = [&](const std::optional<std::string> &) { isAnswered = true; }});
    SteadyClock::time_point before;
    while (content().empty()) {
        before = SteadyClock::now();
        queue.work();
    }
    const std::string held = "installer: The install failed (exit status 3)\n" + std::string(kFiller);
    EXPECT_EQ(content(), held);
    EXPECT_GE(queue.deadline().value_or(before), before + 1s);
    while (!isAnswered) {
        const auto start = SteadyClock::now();
        queue.work();
        if (start < before + 990ms && SteadyClock::now() < before + 1s) {
            ASSERT_EQ(content(), held);
        }
    }
    EXPECT_GE(SteadyClock::now(), before + 1s);
    EXPECT_EQ(content(), held + kDone);
}

TEST_F(CommandQueueTest, EndsACommandThatIsSilentForTooLong) {
    queue_ = CommandQueue({.silence = 60ms, .killGrace = 10s, .failureHold = 10ms});
    EXPECT_EQ(run("echo begun; sleep 300"),
              "begun\ninstaller: The install failed (no output for 60 ms)\n" + std::string(kFiller) + kDone);
    EXPECT_EQ(answers_[0], Answers{"Command was ended: no output for 60 ms"});
}

TEST_F(CommandQueueTest, SpellsTheRealSilenceLimit) {
    EXPECT_EQ(CommandLimits().silence, 2h);
}

TEST_F(CommandQueueTest, KillsWhatDoesNotEndWhenAsked) {
    queue_ = CommandQueue({.silence = 50ms, .killGrace = 50ms, .failureHold = 10ms});
    EXPECT_TRUE(run("trap '' TERM; while :; do sleep 1; done").ends_with(kDone));
}

TEST_F(CommandQueueTest, LetsACommandThatTalksGoOn) {
    queue_ = CommandQueue({.silence = 1500ms, .killGrace = 50ms, .failureHold = 10ms});
    EXPECT_EQ(run("for i in 1 2 3 4 5 6 7 8 9 10; do echo $i; sleep 0.2; done"),
              "1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n" + std::string(kDone));
}

TEST_F(CommandQueueTest, RunsOneAtATimeInTheOrderOfArrival) {
    const std::string log = root_.at("/log");
    add("echo a begins >>" + log + "; sleep 0.2; echo a ends >>" + log, Progress::NotWanted);
    add("echo b begins >>" + log + "; sleep 0.1; echo b ends >>" + log, Progress::Wanted);
    add("echo c >>" + log, Progress::NotWanted);
    workToEnd();
    EXPECT_EQ(test::contentOf(log), "a begins\na ends\nb begins\nb ends\nc\n");
    EXPECT_EQ(order_, (std::vector<std::size_t>{0, 1, 2}));
}

TEST_F(CommandQueueTest, RefusesASecondInstallation) {
    add("sleep 0.3; echo one", Progress::Wanted);
    queue_.work();
    add("echo two", Progress::Wanted);
    EXPECT_EQ(answers_[1], Answers{"dropped"});
    workToEnd();
    EXPECT_EQ(content(), "one\n" + std::string(kDone));
    EXPECT_EQ(answers_[0], Answers{"Command finished with status 0"});
    EXPECT_EQ(run("echo three"), "three\n" + std::string(kDone));
}

TEST_F(CommandQueueTest, RefusesAFileThatCannotBeMade) {
    fs::create_directory(root_.progressFile());
    add("touch " + root_.at("/ran"), Progress::Wanted);
    workToEnd();
    EXPECT_EQ(answers_[0], Answers{"dropped"});
    EXPECT_FALSE(fs::exists(root_.at("/ran")));
}

TEST_F(CommandQueueTest, GoesOnInANewFileWhenTheFirstIsRemoved) {
    EXPECT_EQ(run("echo one; sleep 0.1; rm " + root_.progressFile() + "; echo two; echo three"),
              "two\nthree\n" + std::string(kDone));
}

TEST_F(CommandQueueTest, DropsTheClientAndGoesOnWhenTheFileCannotBeMadeAnew) {
    add("rm " + root_.progressFile() + "; mkdir " + root_.progressFile() + "; echo x; sleep 0.1; touch " +
            root_.at("/ran"),
        Progress::Wanted);
    workToEnd();
    EXPECT_EQ(answers_[0], Answers{"dropped"});
    EXPECT_TRUE(fs::exists(root_.at("/ran")));
}

TEST_F(CommandQueueTest, AnnouncesAFailureAnewWhenTheFileIsRemovedMeanwhile) {
    add("exit 3", Progress::Wanted);
    workUntil([this] { return content().ends_with(kFiller); });
    fs::remove(root_.progressFile());
    workToEnd();
    EXPECT_EQ(content(), "installer: The install failed (exit status 3)\n" + std::string(kFiller) + kDone);
}

TEST_F(CommandQueueTest, DropsTheClientWhenAnAnnouncedFailureIsTakenAwayAgainAndAgain) {
    add("exit 3", Progress::Wanted);
    workUntil([this] {
        fs::remove(root_.progressFile());
        return queue_.isEmpty();
    });
    EXPECT_EQ(answers_[0], Answers{"dropped"});
}

TEST_F(CommandQueueTest, WritesALastLineAlsoWhenItIsToldToEnd) {
    add("echo begun; sleep 300; echo never", Progress::Wanted);
    add("touch " + root_.at("/ran"), Progress::NotWanted);
    workUntil([this] { return content() == "begun\n"; });
    queue_.endAll();
    workToEnd();
    EXPECT_EQ(content(),
              "begun\ninstaller: The install failed (the helper was asked to end)\n" + std::string(kFiller) + kDone);
    EXPECT_FALSE(fs::exists(root_.at("/ran")));
}

TEST_F(CommandQueueTest, WritesALastLineForAQueuedInstallationWhenItIsToldToEnd) {
    add("sleep 300", Progress::NotWanted);
    add("echo never", Progress::Wanted);
    queue_.work();
    queue_.endAll();
    workToEnd();
    EXPECT_EQ(content(),
              "installer: The install failed (the helper was asked to end)\n" + std::string(kFiller) + kDone);
}

TEST_F(CommandQueueTest, KeepsTheLinesOfMuchOutputWhole) {
    const std::string text = run("yes 0123456789 | head -n 5000000");
    EXPECT_EQ(text.size(), 55'000'000U + sizeof kDone - 1);
    EXPECT_TRUE(text.ends_with("0123456789\n" + std::string(kDone)));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 5'000'001);
}

TEST_F(CommandQueueTest, TellsNothingOfACommandWithoutProgressFile) {
    add("echo x; exit 3", Progress::NotWanted);
    workToEnd();
    EXPECT_FALSE(fs::exists(root_.progressFile()));
}

} // namespace
} // namespace kyb::helper
