#include "ChannelTest.h"
#include "FakeService.h"

#include "base/threads.h"
#include "channel/channel_message.h"
#include "channel/message_keys.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>

namespace kyb {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Kind = ConnectionEventKind;
namespace fs = std::filesystem;

constexpr char kSuccess[] = "Command finished with status 0";

class HelperConnectionTest : public test::ChannelTest {
protected:
    static QByteArray at(const char *fixedPath) { return QByteArray::fromStdString(root().at(fixedPath)); }

    static std::string contentOf(const char *fixedPath) { return test::contentOf(root().at(fixedPath)); }

    static void makeFile(const char *fixedPath) { std::ofstream(root().at(fixedPath)).put('\n'); }
};

// ---- On demand

TEST_F(HelperConnectionTest, IsInvalidWithoutAHelper) {
    const auto outcome = send("true");
    EXPECT_THAT(eventsOf(*outcome), ElementsAre(Kind::Invalid));
    EXPECT_EQ(outcome->reply(), "(none)");
}

TEST_F(HelperConnectionTest, IsInvalidWithoutTheFolderOfTheSocket) {
    registerHelper();
    fs::remove_all(root().at("/var/run"));
    EXPECT_THAT(eventsOf(*send("true")), ElementsAre(Kind::Invalid));
}

TEST_F(HelperConnectionTest, IsInvalidWithAHelperThatMayNotBeStarted) {
    registerHelper();
    fs::permissions(root().helperFile(), fs::perms::owner_read);
    EXPECT_THAT(eventsOf(*send("true")), ElementsAre(Kind::Invalid));
}

TEST_F(HelperConnectionTest, IsInvalidForAServiceThatNoHelperPublishes) {
    registerHelper();
    test::Outcome outcome;
    HelperConnection connection = createHelperConnection("com.kyb.other.xpc");
    setConnectionEventHandler(connection, [&](const ConnectionEvent &event) { outcome.addEvent(event.kind); });
    sendMessageWithReply(connection, {{kCommandKey, "true"}},
                         [&](const std::optional<QByteArray> &reply) { outcome.addReply(reply); });
    releaseConnection(connection);
    EXPECT_THAT(eventsOf(outcome), ElementsAre(Kind::Invalid));
}

TEST_F(HelperConnectionTest, StartsTheHelperOnDemandAndOnce) {
    registerHelper();
    EXPECT_EQ(root().helpers().size(), 0U);
    EXPECT_EQ(run("exit 3"), "Command finished with status 3");
    EXPECT_EQ(root().helpers().size(), 1U);
    EXPECT_EQ(run("true"), kSuccess);
    EXPECT_EQ(root().helpers().size(), 1U);
}

TEST_F(HelperConnectionTest, StartsTheHelperAgainAfterItsEnd) {
    registerHelper();
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(run("true"), kSuccess);
        root().killHelpers(); // leaves its socket behind
    }
}

TEST_F(HelperConnectionTest, StartsOneHelperForManyClients) {
    registerHelper();
    std::mutex mutex;
    std::vector<std::shared_ptr<test::Outcome>> outcomes;
    for (int i = 0; i < 20; ++i) {
        inBackground([&, i] {
            const auto outcome = send("exit " + QByteArray::number(i));
            const std::lock_guard lock(mutex);
            outcomes.push_back(outcome);
        });
    }
    ASSERT_TRUE(test::turnUntil([&] {
        const std::lock_guard lock(mutex);
        return outcomes.size() == 20;
    }));
    std::vector<std::string> replies;
    std::vector<std::string> expected;
    for (int i = 0; i < 20; ++i) {
        replies.push_back(waitForReply(*outcomes[static_cast<std::size_t>(i)]));
        EXPECT_THAT(outcomes[static_cast<std::size_t>(i)]->events(), IsEmpty());
        expected.push_back("Command finished with status " + std::to_string(i));
    }
    EXPECT_THAT(replies, testing::UnorderedElementsAreArray(expected));
    EXPECT_EQ(root().helpers().size(), 1U);
}

TEST_F(HelperConnectionTest, GivesTheHelperALogThatDoesNotGrowForEver) {
    registerHelper();
    root().write("/var/log/com.kyb.InstallerHelperTool.log", std::string(std::size_t{2} << 20, 'x'));
    EXPECT_EQ(run("true"), kSuccess);
    const std::string log = contentOf("/var/log/com.kyb.InstallerHelperTool.log");
    EXPECT_NE(log.find("Start: true"), std::string::npos);
    EXPECT_EQ(log.find("xxx"), std::string::npos);
}

TEST_F(HelperConnectionTest, GivesTheHelperNothingOfTheClients) {
    registerHelper();
    setenv("KYB_TEST_SECRET", "1", 1);
    const UniqueFd inheritable(dup(STDIN_FILENO));
    EXPECT_EQ(run("true"), kSuccess);
    ASSERT_EQ(root().helpers().size(), 1U);
    const pid_t helper = root().helpers().front();
    EXPECT_EQ(getsid(helper), helper);
    const std::string process = "/proc/" + std::to_string(helper);
    EXPECT_EQ(test::contentOf(process + "/environ").find("KYB_TEST_SECRET"), std::string::npos);
    EXPECT_EQ(fs::read_symlink(process + "/fd/0"), "/dev/null");
    EXPECT_EQ(fs::read_symlink(process + "/fd/1"), "/dev/null");
    EXPECT_EQ(fs::read_symlink(process + "/fd/2"), root().at("/var/log/com.kyb.InstallerHelperTool.log"));
    EXPECT_NE(contentOf("/var/log/com.kyb.InstallerHelperTool.log").find("Start: true"), std::string::npos);
    const auto isInherited = [](const auto &entry) {
        std::error_code error;
        const std::string target = fs::read_symlink(entry.path(), error);
        return std::atoi(entry.path().filename().c_str()) > 3 && !target.starts_with("pipe:") &&
               !target.ends_with("/var/run") && !target.ends_with(".server") && target != root().path();
    };
    // Its pipe, its lock, the root folder and that of the socket, once the connection of the run is gone.
    const auto hasOnlyItsOwn = [&] {
        return std::none_of(fs::directory_iterator(process + "/fd"), fs::directory_iterator(), isInherited);
    };
    EXPECT_TRUE(test::turnUntil(hasOnlyItsOwn));
}

TEST_F(HelperConnectionTest, GivesTheHelperNoLinkAndNoFifoForItsLog) {
    const std::string log = root().at("/var/log/com.kyb.InstallerHelperTool.log");
    root().write("/anothers", "another's");
    fs::create_symlink(root().at("/anothers"), log);
    registerHelper();
    EXPECT_EQ(run("true"), kSuccess);
    EXPECT_EQ(contentOf("/anothers"), "another's");

    root().killHelpers();
    fs::remove(log);
    ASSERT_EQ(mkfifo(log.c_str(), 0600), 0);
    EXPECT_EQ(run("true"), kSuccess);
}

TEST_F(HelperConnectionTest, StartsTheHelperWithoutAFolderForItsLog) {
    registerHelper();
    fs::remove_all(root().at("/var/log"));
    EXPECT_EQ(run("true"), kSuccess);
}

TEST_F(HelperConnectionTest, IsInterruptedByAHelperThatCannotRun) {
    fs::create_directories(root().at("/Library/PrivilegedHelperTools"));
    std::ofstream(root().helperFile()) << "no program";
    fs::permissions(root().helperFile(), fs::perms(0755));
    EXPECT_THAT(eventsOf(*send("true")), ElementsAre(Kind::Interrupted));
    EXPECT_THAT(eventsOf(*send("true", Progress::Wanted)), ElementsAre(Kind::Interrupted));
}

TEST_F(HelperConnectionTest, IsInterruptedByAHelperThatEndsAtOnce) {
    root().registerHelper("/bin/false");
    EXPECT_THAT(eventsOf(*send("true")), ElementsAre(Kind::Interrupted));
    EXPECT_THAT(eventsOf(*send("true", Progress::Wanted)), ElementsAre(Kind::Interrupted));
}

// ---- Messages and replies

TEST_F(HelperConnectionTest, AnswersWhenTheCommandHasEnded) {
    registerHelper();
    const auto outcome = send("echo >" + at("/ready") + "; while [ ! -e " + at("/go") + " ] && [ -d " + at("/var") +
                              " ]; do sleep 0.01; done; echo >" + at("/ended"));
    ASSERT_TRUE(test::turnUntil([] { return fs::exists(root().at("/ready")); }));
    EXPECT_FALSE(outcome->isComplete());
    makeFile("/go");
    EXPECT_EQ(waitForReply(*outcome), kSuccess);
    EXPECT_TRUE(fs::exists(root().at("/ended")));
}

TEST_F(HelperConnectionTest, KeepsTheOrderOfTheMessages) {
    registerHelper();
    std::vector<std::shared_ptr<test::Outcome>> outcomes;
    std::string expected;
    for (int i = 0; i < 60; ++i) {
        outcomes.push_back(send("echo " + QByteArray::number(i) + " >>" + at("/order")));
        expected += std::to_string(i) + "\n";
    }
    for (const auto &outcome : outcomes) {
        EXPECT_EQ(waitForReply(*outcome), kSuccess);
    }
    EXPECT_EQ(contentOf("/order"), expected);
}

TEST_F(HelperConnectionTest, IsInterruptedByASecondInstallation) {
    registerHelper();
    const auto first =
        send("while [ ! -e " + at("/go") + " ] && [ -d " + at("/var") + " ]; do sleep 0.01; done; echo one",
             Progress::Wanted);
    const auto second = send("echo two", Progress::Wanted);
    EXPECT_THAT(eventsOf(*second), ElementsAre(Kind::Interrupted));
    makeFile("/go");
    EXPECT_EQ(waitForReply(*first), kSuccess);
    EXPECT_EQ(test::contentOf(root().progressFile()), "one\nInstallation_Done\n");
}

TEST_F(HelperConnectionTest, IsInterruptedWhenTheHelperIsKilled) {
    registerHelper();
    const auto outcome = send("echo >" + at("/ready") + "; while [ ! -e " + at("/go") + " ] && [ -d " + at("/var") +
                                  " ]; do sleep 0.01; done",
                              Progress::Wanted);
    ASSERT_TRUE(test::turnUntil([] { return fs::exists(root().at("/ready")); }));
    EXPECT_FALSE(outcome->isComplete());
    root().killHelpers();
    EXPECT_THAT(eventsOf(*outcome), ElementsAre(Kind::Interrupted));
    EXPECT_EQ(outcome->reply(), "(none)");
    makeFile("/go");
}

TEST_F(HelperConnectionTest, RunsTextOfEveryScript) {
    registerHelper();
    EXPECT_EQ(run(QByteArray("echo \"Grüße 日本 \xf0\x9f\x96\xa8\" >") + at("/text")), kSuccess);
    EXPECT_EQ(contentOf("/text"), "Grüße 日本 \xf0\x9f\x96\xa8\n");
}

TEST_F(HelperConnectionTest, RefusesAMessageThatIsTooLong) {
    registerHelper();
    EXPECT_THAT(eventsOf(*send(QByteArray(2 << 20, 'x'))), ElementsAre(Kind::OtherError));
    EXPECT_EQ(root().helpers().size(), 0U);
}

TEST_F(HelperConnectionTest, TakesNoNoticeOfANullConnection) {
    setConnectionEventHandler(nullptr, [](const ConnectionEvent &) { ADD_FAILURE(); });
    resumeConnection(nullptr);
    sendMessageWithReply(nullptr, {{kCommandKey, "true"}}, [](const std::optional<QByteArray> &) { ADD_FAILURE(); });
    releaseConnection(nullptr);
    EXPECT_TRUE(isIdle());
}

TEST_F(HelperConnectionTest, NeedsNoHandlers) {
    registerHelper();
    HelperConnection connection = createHelperConnection(kHelperServiceName);
    sendMessageWithReply(connection, {{kCommandKey, "true"}}, {});
    releaseConnection(connection);
    fs::remove(root().helperFile());
    root().killHelpers();
    connection = createHelperConnection(kHelperServiceName);
    sendMessageWithReply(connection, {{kCommandKey, "true"}}, {});
    releaseConnection(connection);
    EXPECT_TRUE(test::turnUntil(isIdle));
}

// ---- The progress file

/// The caller looks once whether the file is there, and then sleeps for long.
TEST_F(HelperConnectionTest, FindsTheProgressFileAtTheFirstLook) {
    registerHelper();
    for (int i = 0; i < 200; ++i) {
        EXPECT_TRUE(findsProgressFile());
    }
}

TEST_F(HelperConnectionTest, FindsTheProgressFileOfAHelperThatIsStartedForIt) {
    registerHelper();
    for (int i = 0; i < 20; ++i) {
        root().killHelpers();
        EXPECT_TRUE(findsProgressFile());
    }
}

TEST_F(HelperConnectionTest, IsInterruptedByAHelperThatTakesNoMessage) {
    std::atomic<bool> isOver{false};
    const test::FakeService service(root().path(), [&isOver](int connection) {
        while (!isOver) {
            usleep(1000);
        }
        test::takeRequest(connection);
        char byte = 0;
        EXPECT_EQ(recv(connection, &byte, 1, 0), 0) << "the client has gone";
    });
    const auto begin = std::chrono::steady_clock::now();
    const auto outcome = send("true", Progress::Wanted, 200ms);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 200ms) << "it is waited for, but not for ever";
    EXPECT_THAT(eventsOf(*outcome), ElementsAre(Kind::Interrupted));
    isOver = true;
}

TEST_F(HelperConnectionTest, StaysAfterTheReplyToAMessageThatNamesTheProgressFile) {
    for (const Progress progress : {Progress::Wanted, Progress::NotWanted}) {
        std::atomic<bool> isOver{false};
        const test::FakeService service(root().path(), [&isOver, progress](int connection) {
            test::takeRequest(connection);
            test::sendBytes(connection, *encodeFrame({{kReplyKey, "done"}}));
            while (!isOver) {
                usleep(1000);
            }
            char byte = 0;
            EXPECT_EQ(recv(connection, &byte, 1, MSG_DONTWAIT), progress == Progress::Wanted ? -1 : 0);
        });
        EXPECT_EQ(run("true", progress), "done");
        EXPECT_TRUE(test::turnUntil(isIdle));
        isOver = true;
    }
}

TEST_F(HelperConnectionTest, WaitsForAHelperThatTakesTheMessageLate) {
    const test::FakeService service(root().path(), [](int connection) {
        std::this_thread::sleep_for(300ms);
        makeFile("/var/tmp/kyb/late");
        test::takeRequest(connection);
    });
    const auto outcome = send("true", Progress::Wanted);
    EXPECT_TRUE(fs::exists(root().at("/var/tmp/kyb/late")));
    EXPECT_THAT(eventsOf(*outcome), ElementsAre(Kind::Interrupted));
}

// ---- Peers that are no helper

TEST_F(HelperConnectionTest, IsInterruptedByAPeerThatLeaves) {
    const test::FakeService service(root().path(), [](int) {});
    EXPECT_THAT(eventsOf(*send("true")), ElementsAre(Kind::Interrupted));
}

TEST_F(HelperConnectionTest, IsInterruptedByAPeerThatTakesTheRequestAndLeaves) {
    const test::FakeService service(root().path(), test::takeRequest);
    EXPECT_THAT(eventsOf(*send("true")), ElementsAre(Kind::Interrupted));
}

TEST_F(HelperConnectionTest, IsInterruptedByAPeerThatLeavesInTheMiddleOfItsReply) {
    const test::FakeService service(root().path(), [](int connection) {
        test::takeRequest(connection);
        test::sendBytes(connection, encodeFrame({{kReplyKey, "half"}})->substr(0, 20));
    });
    EXPECT_THAT(eventsOf(*send("true")), ElementsAre(Kind::Interrupted));
}

TEST_F(HelperConnectionTest, TellsAPeerThatBreaksTheProtocol) {
    const std::string nonsense[] = {
        "HTTP/1.1 400 Bad Request\r\n\r\n",
        std::string("\0\x10\0\1", 4) + std::string(100, 'x'),
        std::string(4, '\0'),
        std::string("\0\0\0\5hello", 9),
        std::string("\0\0\0\x2a", 4) +
            std::string("bplist00\x51x\x08\0\0\0\0\0\0\1\1\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0\0"
                        "\0\0\0\x0a",
                        42), // a text, not a dictionary
    };
    for (const std::string &bytes : nonsense) {
        const test::FakeService service(root().path(), [&bytes](int connection) {
            test::takeRequest(connection);
            test::sendBytes(connection, bytes);
            char byte = 0;
            recv(connection, &byte, 1, 0); // stays until the client leaves
        });
        const auto outcome = send("true");
        EXPECT_THAT(eventsOf(*outcome), ElementsAre(Kind::OtherError));
        EXPECT_EQ(outcome->reply(), "(none)");
    }
}

TEST_F(HelperConnectionTest, TakesAReplyThatComesByteByByte) {
    const test::FakeService service(root().path(), [](int connection) {
        test::takeRequest(connection);
        const std::string frame = *encodeFrame({{kReplyKey, "slow"}});
        for (const char byte : frame) {
            test::sendBytes(connection, std::string(1, byte));
            usleep(200);
        }
    });
    const auto outcome = send("true");
    EXPECT_EQ(waitForReply(*outcome), "slow");
    EXPECT_THAT(outcome->events(), IsEmpty());
}

TEST_F(HelperConnectionTest, TakesAReplyWithoutAText) {
    const test::FakeService service(root().path(), [](int connection) {
        test::takeRequest(connection);
        test::sendBytes(connection, *encodeFrame({{"other", "text"}}));
    });
    const auto outcome = send("true");
    EXPECT_EQ(waitForReply(*outcome), "(none)");
    EXPECT_THAT(outcome->events(), IsEmpty());
}

TEST_F(HelperConnectionTest, TakesAReplyToAMessageThatWasNotReadToItsEnd) {
    const test::FakeService service(root().path(), [](int connection) {
        test::sendBytes(connection, *encodeFrame({{kReplyKey, "early"}}));
    });
    EXPECT_EQ(run(QByteArray(900'000, 'x')), "early");
}

TEST_F(HelperConnectionTest, SendsALongMessageToASlowPeerInTheBackground) {
    std::atomic<bool> isSent{false};
    const test::FakeService service(root().path(), [&isSent](int connection) {
        while (!isSent) {
            usleep(1000);
        }
        test::takeRequest(connection);
        test::sendBytes(connection, *encodeFrame({{kReplyKey, "got it"}}));
    });
    const auto outcome = send(QByteArray(900'000, 'x'));
    isSent = true; // NB: the peer reads nothing before the call has returned
    EXPECT_EQ(waitForReply(*outcome), "got it");
}

} // namespace
} // namespace kyb
