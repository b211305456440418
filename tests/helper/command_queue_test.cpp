#include "CommandQueue.h"

#include "support/CapturedErrors.h"
#include "support/RootFolder.h"
#include "support/log_messages.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace kyb::helper {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr char kDone[] = "Installation_Done\n";
constexpr char kBegunDone[] = "Installation_"; // while a failure is held

/// Quick ones, for what does not test them.
constexpr CommandLimits kLimits{
    .silence = 30s, .killGrace = 100ms, .successHold = 1ms, .failureHold = 1ms, .lookInterval = 1ms};

CommandLimits with(CommandLimits limits, std::chrono::milliseconds silence, std::chrono::milliseconds killGrace) {
    limits.silence = silence;
    limits.killGrace = killGrace;
    return limits;
}

using Lines = std::vector<std::string>;

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
        request.isConnected = [this, number] {
            return answers_[number].empty() ? number >= clientsGone_ : clientsStay_;
        };
        request.fileIsMade = [this, number] { fileIsMade_.push_back(number); };
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

    /// Starts the command, and leaves it alone until it has made the file \p name below the root.
    void startAndWaitFor(const std::string &name, const std::string &commandLine) {
        add(commandLine, Progress::Wanted);
        queue_.work();
        while (!fs::exists(root_.at("/" + name))) {
            usleep(500);
        }
    }

    std::string run(const std::string &commandLine) {
        add(commandLine, Progress::Wanted);
        workToEnd();
        return content();
    }

    std::string content() const { return test::contentOf(root_.progressFile()); }
    Lines logged() const { return test::messagesOf(test::contentOf(root_.at("/helper.log"))); }

    using Answers = std::vector<std::string>;

    test::RootFolder root_;
    test::CapturedErrors errors_{root_.at("/helper.log")};
    std::vector<Answers> answers_;
    std::vector<std::size_t> order_;
    std::vector<std::size_t> fileIsMade_;
    std::size_t clientsGone_ = 0; ///< so many have, before their replies
    bool clientsStay_ = false;    ///< after their replies
    CommandQueue queue_{kLimits};
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
    queue_ = CommandQueue({.successHold = 1h});
    add("echo installer:PHASE:Preparing", Progress::Wanted);
    workUntil([this] { return content() == "installer:PHASE:Preparing\n" + std::string(kDone); });
    EXPECT_EQ(answers_[0], Answers());
}

TEST_F(CommandQueueTest, DoesNotPutTheFileOfASuccessBackWhoseClientHasGone) {
    queue_ = CommandQueue({.successHold = 1h, .lookInterval = 1ms});
    add("true", Progress::Wanted);
    workUntil([this] { return content() == kDone; });
    clientsGone_ = 1;
    fs::remove(root_.progressFile()); // as the next program does
    workToEnd();
    EXPECT_FALSE(fs::exists(root_.progressFile()));
}

TEST_F(CommandQueueTest, ASuccessWhoseClientHasGoneMakesWayAtOnce) {
    queue_ = CommandQueue({.successHold = 1h, .successShow = 1h, .lookInterval = 1h});
    add("echo first", Progress::Wanted);
    workUntil([this] { return content() == "first\n" + std::string(kDone); });
    clientsGone_ = 1;
    add("sleep 300", Progress::Wanted);
    EXPECT_EQ(content(), "");
    EXPECT_EQ(fileIsMade_, (std::vector<std::size_t>{0, 1}));
    queue_.endAll();
    workToEnd();
}

TEST_F(CommandQueueTest, AnswersWhenTheCommandHasEnded) {
    add("sleep 0.1; exit 3", Progress::NotWanted);
    queue_.work();
    EXPECT_EQ(answers_[0], Answers());
    workToEnd();
    EXPECT_EQ(answers_[0], Answers{"Command finished with status 3"});
}

TEST_F(CommandQueueTest, HoldsAFailureBeforeTheLastLine) {
    queue_ = CommandQueue({.failureHold = 1s, .lookInterval = 10ms});
    add("exit 3", Progress::Wanted);
    const std::string held = "installer: The install failed (exit status 3)\n" + std::string(kBegunDone);
    SteadyClock::time_point before;
    while (content().empty()) {
        before = SteadyClock::now();
        queue_.work();
    }
    while (answers_[0].empty()) {
        const auto start = SteadyClock::now();
        EXPECT_EQ(content(), held);
        queue_.work();
        ASSERT_LT(start, before + 60s);
    }
    EXPECT_GE(SteadyClock::now(), before + 1s);
    workToEnd();
    EXPECT_EQ(content(), "installer: The install failed (exit status 3)\n" + std::string(kDone));
}

TEST_F(CommandQueueTest, EndsAFailureWhenItsClientHasGone) {
    clientsStay_ = true;
    add("exit 3", Progress::Wanted);
    workUntil([this] { return !answers_[0].empty(); });
    for (int look = 0; look < 50; ++look) {
        usleep(2000);
        queue_.work();
        ASSERT_TRUE(content().ends_with(kBegunDone));
    }
    clientsStay_ = false;
    workToEnd();
    EXPECT_TRUE(content().ends_with(kDone));
    EXPECT_EQ(answers_[0].size(), 1U);
}

TEST_F(CommandQueueTest, EndsAFailureWhoseClientStaysForVeryLong) {
    queue_ = CommandQueue({.failureHold = 1ms, .departure = 50ms, .lookInterval = 1ms});
    EXPECT_EQ(CommandLimits().departure, 1h);
    clientsStay_ = true;
    add("exit 3", Progress::Wanted);
    workToEnd();
    EXPECT_TRUE(content().ends_with(kDone));
    EXPECT_EQ(answers_[0].size(), 1U);
}

TEST_F(CommandQueueTest, EndsAFailureWhoseClientGoesAlthoughItsFileCannotBePutBack) {
    clientsStay_ = true;
    add("exit 3", Progress::Wanted);
    workUntil([this] { return !answers_[0].empty(); });
    fs::remove_all(fs::path(root_.progressFile()).parent_path());
    for (int look = 0; look < 50; ++look) {
        usleep(2000);
        queue_.work();
    }
    EXPECT_FALSE(queue_.isEmpty());
    clientsStay_ = false;
    workToEnd();
}

TEST_F(CommandQueueTest, AFailureWhoseClientStaysMakesWay) {
    clientsStay_ = true;
    add("exit 3", Progress::Wanted);
    workUntil([this] { return !answers_[0].empty(); });
    add("echo next", Progress::Wanted);
    EXPECT_EQ(content(), "");
    workToEnd();
    EXPECT_EQ(content(), "next\n" + std::string(kDone));
    EXPECT_EQ(answers_[0].size(), 1U);
}

TEST_F(CommandQueueTest, TheRealHoldsAreLongEnoughForAReaderThatIsStopped) {
    EXPECT_EQ(CommandLimits().successHold, 3s) << "the program sleeps for two seconds when it finds no file";
    EXPECT_EQ(CommandLimits().failureHold, 10s);
    EXPECT_EQ(CommandLimits().lookInterval, 100ms);
}

TEST_F(CommandQueueTest, AHeldFailureDoesNotKeepOtherCommandsWaiting) {
    queue_ = CommandQueue({.failureHold = 1h});
    add("exit 3", Progress::Wanted);
    add("true", Progress::NotWanted);
    workUntil([this] { return !answers_[1].empty(); });
    EXPECT_EQ(answers_[0], Answers());
    EXPECT_FALSE(queue_.isEmpty());
}

TEST_F(CommandQueueTest, AHeldFailureMakesWayForTheNextInstallation) {
    queue_ = CommandQueue({.successHold = 1ms, .failureHold = 1h, .lookInterval = 1ms});
    add("exit 3", Progress::Wanted);
    workUntil([this] { return content().ends_with(kBegunDone); });
    add("echo next", Progress::Wanted);
    EXPECT_EQ(answers_[0], Answers{"dropped"}) << "its client may not have seen the failure yet";
    EXPECT_EQ(content(), "");
    workToEnd();
    EXPECT_EQ(content(), "next\n" + std::string(kDone));
    EXPECT_EQ(answers_[1], Answers{"Command finished with status 0"});
    EXPECT_EQ(logged(),
              Lines({"Start: exit 3", "Command finished with status 3: installer: The install failed (exit status 3)",
                     "The client of a failed command is dropped, since another follows.", "Start: echo next",
                     "Command finished with status 0"}));
}

TEST_F(CommandQueueTest, AHeldSuccessMakesWayForTheNextInstallation) {
    queue_ = CommandQueue({.successHold = 1h, .failureHold = 1ms, .successShow = 0ms, .lookInterval = 1ms});
    add("echo one", Progress::Wanted);
    workUntil([this] { return content().ends_with(kDone); });
    add("exit 3", Progress::Wanted);
    EXPECT_EQ(answers_[0], Answers{"Command finished with status 0"});
    workToEnd();
    EXPECT_EQ(content(), "installer: The install failed (exit status 3)\n" + std::string(kDone));
}

TEST_F(CommandQueueTest, AYoungSuccessIsPutBackAndShownBeforeItMakesWay) {
    queue_ = CommandQueue({.successHold = 1h, .failureHold = 1ms, .successShow = 1s, .lookInterval = 1ms});
    SteadyClock::time_point before;
    add("echo one", Progress::Wanted);
    workUntil([&] {
        before = content().empty() ? SteadyClock::now() : before;
        return content().ends_with(kDone);
    });
    fs::remove(root_.progressFile()); // as the next client does
    add("exit 3", Progress::Wanted);
    EXPECT_FALSE(fs::exists(root_.progressFile()));
    workUntil([this] { return content() == kDone || !answers_[0].empty(); });
    EXPECT_EQ(answers_[0], Answers()) << "it made way at once";
    EXPECT_EQ(fileIsMade_, std::vector<std::size_t>{0});
    workUntil([this] { return !answers_[0].empty(); });
    EXPECT_GE(SteadyClock::now(), before + 1s);
    EXPECT_EQ(answers_[0], Answers{"Command finished with status 0"});
    EXPECT_EQ(fileIsMade_, (std::vector<std::size_t>{0, 1}));
    workToEnd();
    EXPECT_EQ(content(), "installer: The install failed (exit status 3)\n" + std::string(kDone));
}

TEST_F(CommandQueueTest, ARequestThatWaitsForAYoungSuccessIsTheOnlyOne) {
    queue_ = CommandQueue({.successHold = 1h, .successShow = 1h, .lookInterval = 1ms});
    add("true", Progress::Wanted);
    workUntil([this] { return content().ends_with(kDone); });
    add("touch " + root_.at("/ran"), Progress::Wanted);
    add("true", Progress::Wanted);
    EXPECT_EQ(answers_[2], Answers{"dropped"});
    queue_.endAll();
    workToEnd();
    EXPECT_EQ(answers_[0], Answers{"Command finished with status 0"});
    EXPECT_EQ(answers_[1], Answers{"dropped"});
    EXPECT_FALSE(fs::exists(root_.at("/ran")));
}

TEST_F(CommandQueueTest, TheRealShowIsLongEnoughForAReaderAndShortEnoughForTheNext) {
    EXPECT_GE(CommandLimits().successShow, 2 * CommandLimits().lookInterval + 2 * 110ms);
    EXPECT_LE(CommandLimits().successShow, 1s) << "the next client waits for its file for two";
}

TEST_F(CommandQueueTest, EndsACommandThatIsSilentForTooLong) {
    queue_ = CommandQueue(with(kLimits, 1s, 10s));
    startAndWaitFor("begun", "echo begun; touch " + root_.at("/begun") + "; exec sleep 300");
    workToEnd();
    EXPECT_EQ(content(), "begun\ninstaller: The install failed (no output for 1000 ms)\n" + std::string(kDone));
    EXPECT_EQ(
        answers_[0],
        Answers{"Command was ended: no output for 1000 ms: installer: The install failed (no output for 1000 ms)"});
}

TEST_F(CommandQueueTest, KillsACommandThatIsSilentForTooLongAndStaysAtSigterm) {
    queue_ = CommandQueue(with(kLimits, 1s, 500ms));
    startAndWaitFor("begun", "exec 2>/dev/null; trap ': >" + root_.at("/asked") + "' TERM; touch " +
                                 root_.at("/begun") + "; while :; do sleep 0.01; done");
    workToEnd();
    EXPECT_TRUE(fs::exists(root_.at("/asked")));
    EXPECT_EQ(content(), "installer: The install failed (no output for 1000 ms)\n" + std::string(kDone));
}

TEST_F(CommandQueueTest, HasTheRealSilenceLimit) {
    EXPECT_EQ(CommandLimits().silence, 2h);
}

TEST_F(CommandQueueTest, LetsACommandThatTalksGoOn) {
    queue_ = CommandQueue(with(kLimits, 1500ms, 50ms));
    EXPECT_EQ(run("for i in 1 2 3 4 5 6 7 8 9 10; do echo $i; sleep 0.2; done"),
              "1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n" + std::string(kDone));
}

TEST_F(CommandQueueTest, RunsOneAtATimeInTheOrderOfArrival) {
    const std::string log = root_.at("/log");
    add("echo a begins >>" + log + "; sleep 0.2; echo a ends >>" + log, Progress::NotWanted);
    add("echo b begins >>" + log + "; sleep 0.1; echo b ends >>" + log, Progress::NotWanted);
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
    fs::create_directories(root_.progressFile() + "/full");
    add("touch " + root_.at("/ran"), Progress::Wanted);
    workToEnd();
    EXPECT_EQ(answers_[0], Answers{"dropped"});
    EXPECT_FALSE(fs::exists(root_.at("/ran")));
    EXPECT_EQ(logged(), Lines{"Refused, for the progress file cannot be made: touch " + root_.at("/ran")});
}

TEST_F(CommandQueueTest, RunsNothingForAClientThatHasGoneBeforeItsFileIsMade) {
    clientsGone_ = 2;
    add("touch " + root_.at("/ran"), Progress::Wanted);
    workToEnd();
    EXPECT_EQ(answers_[0], Answers{"dropped"});
    EXPECT_FALSE(fs::exists(root_.progressFile()));
    EXPECT_FALSE(fs::exists(root_.at("/ran")));
    EXPECT_EQ(logged(), Lines{"Refused, for its client has gone: touch " + root_.at("/ran")});
}

TEST_F(CommandQueueTest, GoesOnWithACommandWhoseClientLeavesAfterItsFileIsMade) {
    add("touch " + root_.at("/ran"), Progress::Wanted);
    clientsGone_ = 2;
    workToEnd();
    EXPECT_TRUE(fs::exists(root_.at("/ran")));
}

TEST_F(CommandQueueTest, GoesOnInANewFileWhenTheFirstIsRemoved) {
    const std::string file = root_.progressFile();
    EXPECT_EQ(run("echo one; until [ -s " + file + " ]; do sleep 0.01; done; rm " + file + "; echo two; echo three"),
              "two\nthree\n" + std::string(kDone));
}

TEST_F(CommandQueueTest, DropsTheClientAndGoesOnWhenTheFileCannotBeMadeAnew) {
    add("rm " + root_.progressFile() + "; mkdir -p " + root_.progressFile() + "/full; echo x; sleep 0.1; touch " +
            root_.at("/ran"),
        Progress::Wanted);
    workToEnd();
    EXPECT_EQ(answers_[0], Answers{"dropped"});
    EXPECT_TRUE(fs::exists(root_.at("/ran")));
    const Lines lines = logged();
    EXPECT_EQ(Lines(lines.begin() + 1, lines.end()),
              Lines({"The progress file cannot be written; its client is dropped.", "Command finished with status 0"}));
}

/// How a command ends, and what its file then ends with.
struct Finish {
    const char *name;
    std::string commandLine;
    std::string lastLines;
    std::string lastLinesHeld;
};

class FinishedFile : public CommandQueueTest, public testing::WithParamInterface<Finish> {};

TEST_P(FinishedFile, IsPutBackWhenItIsTakenAway) {
    queue_ = CommandQueue({.successHold = 1h, .failureHold = 1h, .lookInterval = 1ms});
    add("echo line; " + GetParam().commandLine, Progress::Wanted);
    workUntil([this] { return content().ends_with(GetParam().lastLinesHeld); });
    fs::remove(root_.progressFile());
    workUntil([this] { return fs::exists(root_.progressFile()); });
    EXPECT_EQ(content(), GetParam().lastLinesHeld);
}

TEST_P(FinishedFile, IsPutBackFiveTimes) {
    queue_ = CommandQueue({.successHold = 1h, .failureHold = 1h, .lookInterval = 1ms});
    add("echo line; " + GetParam().commandLine, Progress::Wanted);
    workUntil([this] { return content().ends_with(GetParam().lastLinesHeld); });
    clientsStay_ = true;
    for (int i = 0; i < 5; ++i) {
        fs::remove(root_.progressFile());
        workUntil([this] { return fs::exists(root_.progressFile()); });
    }
    fs::remove(root_.progressFile());
    workToEnd();
    EXPECT_EQ(answers_[0].back(), "dropped");
}

TEST_P(FinishedFile, IsPutBackWhenItIsEmptied) {
    queue_ = CommandQueue({.successHold = 1h, .failureHold = 1h, .lookInterval = 1ms});
    add("echo line; " + GetParam().commandLine, Progress::Wanted);
    workUntil([this] { return content().ends_with(GetParam().lastLinesHeld); });
    fs::resize_file(root_.progressFile(), 0);
    workUntil([this] { return !content().empty(); });
    EXPECT_EQ(content(), GetParam().lastLinesHeld);
}

TEST_P(FinishedFile, IsPutBackWhenItIsWrittenOver) {
    queue_ = CommandQueue({.successHold = 1h, .failureHold = 1h, .lookInterval = 1ms});
    add("echo line; " + GetParam().commandLine, Progress::Wanted);
    workUntil([this] { return content().ends_with(GetParam().lastLinesHeld); });
    const std::string other(GetParam().lastLinesHeld.size(), '-');
    std::fstream(root_.progressFile(), std::ios::in | std::ios::out)
            .seekp(-static_cast<std::streamoff>(other.size()), std::ios::end)
        << other;
    workUntil([this] { return content().ends_with(GetParam().lastLinesHeld); });
    EXPECT_EQ(content(), GetParam().lastLinesHeld);
}

TEST_P(FinishedFile, IsNotPutBackAtOnceWhereAClientMayMakeRoomForItsOwn) {
    queue_ = CommandQueue({.successHold = 1h, .failureHold = 1h, .lookInterval = 100ms});
    add("echo line; " + GetParam().commandLine, Progress::Wanted);
    workUntil([this] { return content().ends_with(GetParam().lastLinesHeld); });
    fs::remove(root_.progressFile());
    const auto removed = SteadyClock::now();
    workUntil([this] { return fs::exists(root_.progressFile()); });
    EXPECT_GE(SteadyClock::now(), removed + 100ms);
}

TEST_P(FinishedFile, EndsWholeAlthoughItIsTakenAwayAtTheLastMoment) {
    queue_ = CommandQueue({.successHold = 5ms, .failureHold = 5ms, .lookInterval = 5ms});
    add("echo line; " + GetParam().commandLine, Progress::Wanted);
    workUntil([this] { return content().ends_with(GetParam().lastLinesHeld); });
    fs::remove(root_.progressFile());
    workToEnd();
    EXPECT_EQ(content(), GetParam().lastLines);
}

TEST_P(FinishedFile, IsGivenUpWithItsClientWhenItIsTakenAwayAgainAndAgain) {
    queue_ = CommandQueue({.successHold = 1h, .failureHold = 1h, .lookInterval = 1ms});
    add("echo line; " + GetParam().commandLine, Progress::Wanted);
    workUntil([this] {
        if (content().ends_with(GetParam().lastLinesHeld)) {
            fs::remove(root_.progressFile());
        }
        return queue_.isEmpty();
    });
    EXPECT_EQ(answers_[0], Answers{"dropped"});
}

const Finish kFinishes[] = {
    {"Success", "true", kDone, kDone},
    {"Failure", "exit 3", "installer: The install failed (exit status 3)\n" + std::string(kDone),
     "installer: The install failed (exit status 3)\n" + std::string(kBegunDone)},
};

INSTANTIATE_TEST_SUITE_P(Finishes, FinishedFile, testing::ValuesIn(kFinishes),
                         [](const auto &row) { return row.param.name; });

TEST_F(CommandQueueTest, AFailureIsToldInTheReply) {
    run("echo 'installer: Error - no room.'; exit 4");
    EXPECT_EQ(answers_[0], Answers{"Command finished with status 4: installer: The install failed (exit status 4: no "
                                   "room.)"});
}

TEST_F(CommandQueueTest, TheReplyTellsTheInstallersErrorBesideAFailureTextOfItsOwn) {
    const std::string own = "installer: The install failed (own)";
    run("echo 'installer: Error - no room.'; echo '" + own + "'; exit 4");
    EXPECT_EQ(answers_[0], Answers{"Command finished with status 4: " + own + " (no room.)"});
    EXPECT_EQ(content(), "installer: Error - no room.\n" + own + "\n" + kDone);
}

TEST_F(CommandQueueTest, EndsAHeldFailureWhenItIsToldToEnd) {
    queue_ = CommandQueue({.failureHold = 1h});
    add("exit 3", Progress::Wanted);
    workUntil([this] { return content().ends_with(kBegunDone); });
    queue_.endAll();
    EXPECT_TRUE(queue_.isEmpty());
    EXPECT_EQ(answers_[0], Answers{"dropped"});
    EXPECT_TRUE(content().ends_with(kDone));
}

TEST_F(CommandQueueTest, WritesALastLineForAQueuedInstallationWhenItIsToldToEnd) {
    add("sleep 300", Progress::NotWanted);
    add("echo never", Progress::Wanted);
    queue_.work();
    queue_.endAll();
    workToEnd();
    EXPECT_EQ(content(), "installer: The install failed (the helper was asked to end)\n" + std::string(kDone));
    EXPECT_EQ(answers_[1], Answers{"dropped"});
    EXPECT_EQ(logged(), Lines({"Start: sleep 300", "The client of a command that is not done is dropped.",
                               "The client of a command that is not done is dropped.",
                               "Command was not started: the helper was asked to end: installer: The install failed "
                               "(the helper was asked to end)",
                               "Command was ended: the helper was asked to end"}));
}

TEST_F(CommandQueueTest, NeverStartsAQueuedCommandWithoutProgressFileWhenItIsToldToEnd) {
    add("sleep 300", Progress::NotWanted);
    add("touch " + root_.at("/ran"), Progress::NotWanted);
    queue_.work();
    queue_.endAll();
    workToEnd();
    EXPECT_EQ(answers_[1], Answers{"dropped"});
    EXPECT_FALSE(fs::exists(root_.at("/ran")));
}

TEST_F(CommandQueueTest, KillsACommandThatGoesOnTalking) {
    queue_ = CommandQueue(with(kLimits, 1h, 50ms));
    add("trap '' TERM; while :; do echo talk; sleep 0.01; done", Progress::Wanted);
    workUntil([this] { return !content().empty(); });
    queue_.endAll();
    workToEnd();
    EXPECT_EQ(answers_[0], Answers{"dropped"});
}

TEST_F(CommandQueueTest, LeavesNothingBehindOfACommandThatItEnds) {
    ASSERT_EQ(mkfifo(root_.at("/alive").c_str(), 0600), 0);
    const UniqueFd alive(open(root_.at("/alive").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    add("(trap '' TERM; echo begun >&2; exec sleep 300) >" + root_.at("/alive") + " & wait", Progress::Wanted);
    workUntil([this] { return !content().empty(); });
    queue_.endAll();
    workToEnd();
    char byte = 0;
    while (read(alive.get(), &byte, 1) != 0) { // nobody holds the other end any more
        usleep(500);
    }
}

TEST_F(CommandQueueTest, SparesWhatACommandLeavesBehindThatEndsByItself) {
    run("(while [ -d " + root_.at("/var") + " ] && [ ! -e " + root_.at("/go") + " ]; do sleep 0.01; done; touch " +
        root_.at("/done") + ") & echo begun");
    std::ofstream(root_.at("/go")).put('\n');
    while (!fs::exists(root_.at("/done"))) {
        usleep(500);
    }
}

/// When the helper is asked to end.
enum class Asked { Never, BeforeTheStart, AfterTheFirstLine };

/// What the reader of the progress file and the client see of one command, in the order in which they can.
struct Life {
    const char *name;
    std::string commandLine;
    Asked asked;
    std::chrono::milliseconds killGrace;
    std::vector<std::string> journal;
};

const std::string kLastLine = "Installation_Done";
const std::string kAskedFailure = "installer: The install failed (the helper was asked to end)";

const Life kLives[] = {
    {"Success",
     "echo one; echo two",
     Asked::Never,
     1h,
     {"one", "two", kLastLine, "reply: Command finished with status 0"}},
    {"Status",
     "echo half; exit 3",
     Asked::Never,
     1h,
     {"half", "installer: The install failed (exit status 3)", kLastLine,
      "reply: Command finished with status 3: installer: The install failed (exit status 3)"}},
    {"Signal",
     "kill -9 $$",
     Asked::Never,
     1h,
     {"installer: The install failed (signal 9)", kLastLine,
      "reply: Command was ended by signal 9: installer: The install failed (signal 9)"}},
    {"FailureOfItsOwn",
     "echo 'installer: The upgrade failed'; exit 1",
     Asked::Never,
     1h,
     {"installer: The upgrade failed", kLastLine,
      "reply: Command finished with status 1: installer: The upgrade failed"}},
    {"FailureWithStatusZero",
     "echo one; echo; echo 'far: installer: The upgrade failed'; echo; printf ''",
     Asked::Never,
     1h,
     {"one", "", "far: installer: The upgrade failed", "", "far: installer: The upgrade failed", kLastLine,
      "reply: Command finished with status 0: far: installer: The upgrade failed"}},
    {"FailureThatIsNotTheEnd",
     "echo 'installer: The upgrade failed'; printf two",
     Asked::Never,
     1h,
     {"installer: The upgrade failed", "two", kLastLine, "reply: Command finished with status 0"}},
    {"LastLineOfItsOwn",
     "echo Installation_Done; exit 1",
     Asked::Never,
     1h,
     {"Installation Done", "installer: The install failed (exit status 1)", kLastLine,
      "reply: Command finished with status 1: installer: The install failed (exit status 1)"}},
    {"TooLongForTheSystem",
     std::string(1'000'000, 'x'),
     Asked::Never,
     1h,
     {"installer: The install failed (the shell could not be started)", kLastLine,
      "reply: Command could not be started: installer: The install failed (the shell could not be started)"}},
    {"NeverStarted", "echo never", Asked::BeforeTheStart, 1h, {"dropped", kAskedFailure, kLastLine}},
    {"EndsAtSigterm",
     "exec 2>/dev/null; trap 'sleep 0.1; echo asked; exit' TERM; echo begun; while :; do sleep 0.05; done",
     Asked::AfterTheFirstLine,
     1h,
     {"begun", "dropped", "asked", kAskedFailure, kLastLine}},
    {"EndsAtSigkill",
     "trap '' TERM; echo begun; while :; do sleep 1; done",
     Asked::AfterTheFirstLine,
     1ms,
     {"begun", "dropped", kAskedFailure, kLastLine}},
};

class CommandLife : public CommandQueueTest, public testing::WithParamInterface<Life> {
protected:
    /// Notes the lines that were added to the file since the last look.
    void look() {
        std::istringstream unseen(content().substr(seenBytes_));
        seenBytes_ = content().size();
        for (std::string line; std::getline(unseen, line);) {
            journal_.push_back(line);
        }
    }

    std::size_t seenBytes_ = 0;
    std::vector<std::string> journal_;
};

TEST_P(CommandLife, IsSeenSo) {
    queue_ = CommandQueue(with(kLimits, 1h, GetParam().killGrace));
    queue_.add({.commandLine = GetParam().commandLine,
                .progressFilePath = root_.progressFile(),
                .answer = [this](const std::optional<std::string> &reply) {
                    look();
                    journal_.push_back(reply ? "reply: " + *reply : "dropped");
                }});
    if (GetParam().asked == Asked::BeforeTheStart) {
        queue_.endAll();
    }
    if (GetParam().asked == Asked::AfterTheFirstLine) {
        workUntil([this] { return !content().empty(); });
        queue_.endAll();
    }
    workToEnd();
    look();
    EXPECT_EQ(journal_, GetParam().journal);
}

INSTANTIATE_TEST_SUITE_P(Lives, CommandLife, testing::ValuesIn(kLives), [](const auto &row) { return row.param.name; });

TEST_F(CommandQueueTest, KeepsTheLinesOfMuchOutputWhole) {
    const std::string line = std::string(100, 'x') + "0123456789\n";
    const std::string text = run("yes " + line.substr(0, line.size() - 1) + " | head -n 500000");
    EXPECT_EQ(text.size(), 500'000 * line.size() + sizeof kDone - 1);
    EXPECT_TRUE(text.ends_with(line + std::string(kDone)));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 500'001);
}

TEST_F(CommandQueueTest, TellsNothingOfACommandWithoutProgressFile) {
    add("echo x; exit 3", Progress::NotWanted);
    workToEnd();
    EXPECT_FALSE(fs::exists(root_.progressFile()));
}

} // namespace
} // namespace kyb::helper
