#include "linux/SocketListener.h"

#include "channel/ServiceSocket.h"
#include "channel/channel_message.h"
#include "channel/message_keys.h"
#include "posix/spawn.h"
#include "support/Program.h"
#include "support/RootFolder.h"
#include "support/log_messages.h"
#include "support/property_lists.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

namespace kyb::helper {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr char kSuccess[] = "Command finished with status 0";
constexpr char kDropped[] = "(dropped)";

/// A message with its length before it.
std::string framed(const std::string &message) {
    std::string frame;
    test::appendNumber(frame, message.size(), kFrameHeaderBytes);
    return frame + message;
}

/// A client that speaks to the socket itself.
class RawClient {
public:
    explicit RawClient(UniqueFd connection) : connection_(std::move(connection)) {}

    bool isConnected() const { return static_cast<bool>(connection_); }

    void send(const std::string &bytes) const {
        for (std::size_t sent = 0; sent < bytes.size();) {
            pollfd room{.fd = connection_.get(), .events = POLLOUT, .revents = 0};
            poll(&room, 1, -1);
            const ssize_t count = ::send(connection_.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (count < 0) {
                return;
            }
            sent += static_cast<std::size_t>(count);
        }
    }

    void request(const std::string &commandLine) const { send(*encodeFrame({{kCommandKey, commandLine}})); }

    void install(const std::string &commandLine, const std::string &progressFile) const {
        send(*encodeFrame({{kCommandKey, commandLine}, {kInstallerLogPathKey, progressFile}}));
    }

    /// Waits for the reply's text; "(dropped)" when the service breaks off.
    std::string reply() const {
        std::string received;
        while (isConnected()) {
            pollfd answer{.fd = connection_.get(), .events = POLLIN, .revents = 0};
            poll(&answer, 1, -1);
            char chunk[4096];
            const ssize_t count = recv(connection_.get(), chunk, sizeof chunk, 0);
            if (count <= 0) {
                break;
            }
            received.append(chunk, static_cast<std::size_t>(count));
        }
        if (received.empty()) {
            return kDropped;
        }
        return decodeMessage(std::string_view(received).substr(kFrameHeaderBytes))->at(kReplyKey).value_or("(none)");
    }

    /// Waits, without a pause, until the service has taken all that was sent.
    void waitUntilTaken() const {
        int queuedBytes = 1;
        while (queuedBytes > 0) {
            ASSERT_EQ(ioctl(connection_.get(), SIOCOUTQ, &queuedBytes), 0);
        }
    }

    void leave() { connection_.reset(); }

private:
    UniqueFd connection_;
};

class ServiceTest : public testing::Test {
protected:
    ServiceTest() {
        listenerOptions_.systemRoot = root_.path();
        listenerOptions_.isTrusted = [](uid_t) { return true; };
        options_.idle = 1h;
        options_.commands.successHold = options_.commands.failureHold = options_.commands.lookInterval = 1ms;
    }

    ~ServiceTest() override {
        if (process_ > 0) {
            kill(process_, SIGKILL);
            waitpid(process_, nullptr, 0);
        }
    }

    /// The service, in a process of its own, which does not get \p mine.
    void serve(UniqueFd *mine = nullptr) { serve(socket_.listen(), mine); }

    void serve(UniqueFd listening, UniqueFd *mine = nullptr) {
        process_ = fork();
        if (process_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL); // nothing is left of a test that is cut off
            if (mine != nullptr) {
                mine->reset();
            }
            freopen(root_.at("/var/log/service.log").c_str(), "a", stderr);
            SocketListener listener(std::move(listening), listenerOptions_);
            _exit(helper::serve(listener, options_));
        }
    }

    /// Trusts as the program does, in a folder that others can enter.
    void serveRootAndOwner() {
        listenerOptions_.isTrusted = trustRootAndOwner(root_.path());
        serve();
        fs::permissions(root_.path(), fs::perms(0755));
    }

    int waitForEnd() {
        int status = -1;
        waitpid(std::exchange(process_, 0), &status, 0);
        return status;
    }

    RawClient connect() const { return RawClient(socket_.connect()); }

    std::string run(const std::string &commandLine) const {
        const RawClient client = connect();
        client.request(commandLine);
        return client.reply();
    }

    std::string install(const std::string &commandLine) const {
        const RawClient client = connect();
        client.install(commandLine, root_.progressFile());
        return client.reply();
    }

    /// Whether \p condition holds in a process of another user, which only root can become.
    static bool holdsAs(uid_t user, const std::function<bool()> &condition) {
        const pid_t process = fork();
        if (process == 0) {
            _exit(setuid(user) == 0 && condition() ? 0 : 1);
        }
        int status = -1;
        waitpid(process, &status, 0);
        return status == 0;
    }

    /// Whether a client of another user is dropped and its command not run.
    bool refuses(uid_t user) const {
        const std::string made = root_.beside("ran");
        return holdsAs(user, [&] { return run("touch " + made) == kDropped; }) && !fs::exists(made);
    }

    std::string log() const { return test::contentOf(root_.at("/var/log/service.log")); }

    std::vector<std::string> logged() const { return test::messagesOf(log()); }

    /// Waits until there are as many lines, and compares them all.
    void expectLog(const std::vector<std::string> &lines) const {
        waitUntil([&] { return logged().size() >= lines.size(); });
        EXPECT_EQ(logged(), lines);
    }

    template <typename Condition> static void waitUntil(Condition condition) {
        while (!condition()) { // the test's own time limit bounds this
            usleep(500);
        }
    }

    test::RootFolder root_;
    ServiceSocket socket_ = *ServiceSocket::open(root_.path(), kHelperServiceName);
    SocketListener::Options listenerOptions_;
    ServiceOptions options_;
    pid_t process_ = 0;
};

TEST_F(ServiceTest, RunsACommandAndAnswers) {
    serve();
    EXPECT_EQ(run("touch " + root_.at("/ran")), kSuccess);
    EXPECT_TRUE(fs::exists(root_.at("/ran")));
    EXPECT_EQ(run("exit 3"), "Command finished with status 3");
    EXPECT_EQ(run("kill $$"), "Command was ended by signal 15");
    expectLog({"Ready.", "Start: touch " + root_.at("/ran"), "Command finished with status 0", "Start: exit 3",
               "Command finished with status 3", "Start: kill $$", "Command was ended by signal 15"});
}

TEST_F(ServiceTest, TellsItsLogWhatBecomesOfCommandsWhenItIsAskedToEnd) {
    serve();
    const RawClient first = connect();
    first.install("exec sleep 1000", root_.progressFile());
    waitUntil([this] { return logged().size() == 2; });
    EXPECT_EQ(install("echo another"), kDropped);
    const RawClient second = connect();
    second.request("echo later");
    second.waitUntilTaken();
    kill(process_, SIGTERM);
    EXPECT_EQ(waitForEnd(), 0);
    const std::string dropped = "The client of a command that is not done is dropped.";
    expectLog(
        {"Ready.", "Start: exec sleep 1000", "Refused, for another installation is not done: echo another",
         "Asked to end.", dropped, dropped, "Command was not started: the helper was asked to end",
         "Command was ended: the helper was asked to end: installer: The install failed (the helper was asked to end)",
         "End."});
}

TEST_F(ServiceTest, RunsCommandsInTheSystemsFolderWithTheUsualMaskInASessionOfTheirOwn) {
    const mode_t before = umask(0077);
    serve();
    umask(before);
    run("pwd >" + root_.at("/folder") + "; umask >" + root_.at("/mask") + "; ps -o sid= -p $$ >" +
        root_.at("/session") + "; echo $$ >" + root_.at("/shell"));
    EXPECT_EQ(test::contentOf(root_.at("/folder")), "/\n");
    EXPECT_EQ(test::contentOf(root_.at("/mask")), "0022\n");
    EXPECT_EQ(std::stol(test::contentOf(root_.at("/session"))), std::stol(test::contentOf(root_.at("/shell"))));
}

TEST_F(ServiceTest, GivesNoDescriptorOfItsOwnToACommand) {
    serve();
    const RawClient other = connect(); // its connection must not be given away either
    run("exec ls /proc/self/fd >" + root_.at("/fds"));
    EXPECT_EQ(test::contentOf(root_.at("/fds")), "0\n1\n2\n3\n") << "3 is the listing's own";
}

TEST_F(ServiceTest, MakesTheProgressFileBeforeTheRequestIsTaken) {
    serve();
    for (int i = 0; i < 300; ++i) {
        fs::remove(root_.progressFile());
        const RawClient client = connect();
        client.install("echo line", root_.progressFile());
        client.waitUntilTaken();
        ASSERT_TRUE(fs::exists(root_.progressFile()));
        EXPECT_EQ(client.reply(), kSuccess);
        EXPECT_EQ(test::contentOf(root_.progressFile()), "line\nInstallation_Done\n");
    }
}

TEST_F(ServiceTest, TakesARequestLongBeforeItsCommandHasEnded) {
    serve();
    const RawClient client = connect();
    client.install("while [ ! -e " + root_.at("/go") + " ] && [ -d " + root_.at("/var") + " ]; do sleep 0.01; done",
                   root_.progressFile());
    client.waitUntilTaken(); // or it waits for ever
    std::ofstream(root_.at("/go")).put('\n');
    EXPECT_EQ(client.reply(), kSuccess);
}

TEST_F(ServiceTest, ServesTwentyClientsAtOnce) {
    serve();
    std::vector<RawClient> clients;
    for (int i = 0; i < 20; ++i) {
        clients.push_back(connect());
    }
    for (int i = 0; i < 20; ++i) {
        clients[static_cast<std::size_t>(i)].request("exit " + std::to_string(i));
    }
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(clients[static_cast<std::size_t>(i)].reply(), "Command finished with status " + std::to_string(i));
    }
}

TEST_F(ServiceTest, ServesMoreClientsThanItTakesAtOnce) {
    serve();
    std::vector<RawClient> clients;
    for (int i = 0; i < 100; ++i) {
        clients.push_back(connect());
        clients.back().request("echo " + std::to_string(i) + " >>" + root_.at("/order"));
    }
    std::string expected;
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(clients[static_cast<std::size_t>(i)].reply(), kSuccess);
        expected += std::to_string(i) + "\n";
    }
    EXPECT_EQ(test::contentOf(root_.at("/order")), expected);
}

TEST_F(ServiceTest, RefusesTheFileOfAnotherPlace) {
    serve();
    for (const std::string place : {"/etc/passwd", "/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log", "/", "",
                                    "BrelundQuorlix_ProgressMessage.log"}) {
        const RawClient client = connect();
        client.install("touch " + root_.at("/ran"), place);
        EXPECT_EQ(client.reply(), kDropped) << place;
    }
    const RawClient client = connect();
    client.install("touch " + root_.at("/ran"), root_.at("/var/tmp/kyb/../kyb/BrelundQuorlix_ProgressMessage.log"));
    EXPECT_EQ(client.reply(), kDropped);
    EXPECT_FALSE(fs::exists(root_.at("/ran")));
}

TEST_F(ServiceTest, KnowsItsFileByAnotherNameOfTheRoot) {
    serve();
    fs::create_directory_symlink(root_.path(), root_.at("/link"));
    const RawClient client = connect();
    client.install("echo line", root_.at("/link") + kProgressMessageFile);
    EXPECT_EQ(client.reply(), kSuccess);
    EXPECT_EQ(test::contentOf(root_.progressFile()), "line\nInstallation_Done\n");
}

TEST_F(ServiceTest, RefusesASecondInstallationAndSparesTheFirst) {
    serve();
    const RawClient first = connect();
    first.install("while [ ! -e " + root_.at("/go") + " ] && [ -d " + root_.at("/var") +
                      " ]; do sleep 0.01; done; echo one",
                  root_.progressFile());
    EXPECT_EQ(install("echo two"), kDropped);
    std::ofstream(root_.at("/go")).put('\n');
    EXPECT_EQ(first.reply(), kSuccess);
    EXPECT_EQ(test::contentOf(root_.progressFile()), "one\nInstallation_Done\n");
}

TEST_F(ServiceTest, TakesNoRequestBeforeAYoungSuccessHasMadeWay) {
    options_.commands.successHold = 1h;
    options_.commands.successShow = 3s;
    serve();
    const RawClient first = connect();
    first.install("echo one", root_.progressFile());
    waitUntil([this] { return test::contentOf(root_.progressFile()).ends_with("Installation_Done\n"); });
    fs::remove(root_.progressFile());
    const RawClient second = connect();
    second.install("while [ ! -e " + root_.at("/go") + " ] && [ -d " + root_.at("/var") + " ]; do sleep 0.01; done",
                   root_.progressFile());
    waitUntil([this] { return test::contentOf(root_.progressFile()) == "Installation_Done\n"; }); // it is put back
    second.waitUntilTaken();
    EXPECT_EQ(test::contentOf(root_.progressFile()), "") << "the second one's";
    EXPECT_EQ(first.reply(), kSuccess);
    std::ofstream(root_.at("/go")).put('\n');
}

TEST_F(ServiceTest, RunsNothingForAClientThatHasGoneWhileItWaited) {
    options_.commands.successHold = 1h;
    options_.commands.successShow = 500ms;
    serve();
    const RawClient first = connect();
    first.install("echo one", root_.progressFile());
    waitUntil([this] { return test::contentOf(root_.progressFile()).ends_with("Installation_Done\n"); });
    RawClient second = connect();
    second.install("touch " + root_.at("/ran"), root_.progressFile());
    second.leave();
    waitUntil([this] { return log().find("Refused, for its client has gone: ") != std::string::npos; });
    EXPECT_EQ(logged().back(), "Refused, for its client has gone: touch " + root_.at("/ran"));
    EXPECT_FALSE(fs::exists(root_.at("/ran")));
    EXPECT_TRUE(test::contentOf(root_.progressFile()).ends_with("Installation_Done\n")) << "the first one's";
}

TEST_F(ServiceTest, EndsAFailureWhenItsClientHasGone) {
    serve();
    RawClient client = connect();
    client.install("exit 3", root_.progressFile());
    EXPECT_NE(client.reply(), kDropped);
    std::this_thread::sleep_for(100ms);
    EXPECT_TRUE(test::contentOf(root_.progressFile()).ends_with("\nInstallation_"));
    client.leave();
    waitUntil([this] { return test::contentOf(root_.progressFile()).ends_with("\nInstallation_Done\n"); });
}

TEST_F(ServiceTest, DropsNonsense) {
    serve();
    const std::string request = encodeFrame({{kCommandKey, "touch " + root_.at("/ran")}})->substr(kFrameHeaderBytes);
    const std::string nonsense[] = {
        "GET / HTTP/1.1\r\n\r\n",
        std::string(4, '\0'),                                                       // nothing announced
        std::string("\0\x10\0\1", 4),                                               // one byte too long
        std::string("\xff\xff\xff\xff", 4),                                         // far too long
        std::string("\0\0\0\5hello", 9),                                            // no property list
        std::string("\0\0\0\x8", 4) + "bplist00",                                   // the beginning of one
        std::string("\0\0\0\1x", 5),                                                // a single byte
        *encodeFrame({{"reply", "no command"}}),                                    // another message
        framed(test::nestedList(100'000)),                                          // a deep one
        std::string("\0\0\0", 3) + static_cast<char>(request.size() - 1) + request, // cut short
    };
    for (const std::string &bytes : nonsense) {
        const RawClient client = connect();
        client.send(bytes);
        EXPECT_EQ(client.reply(), kDropped);
    }
    EXPECT_EQ(run("true"), kSuccess);
    EXPECT_FALSE(fs::exists(root_.at("/ran")));
    std::vector<std::string> lines{"Ready."};
    lines.insert(lines.end(), 4, "Dropped a client that broke off or sent no message.");
    lines.insert(lines.end(), 6, "Refused a message that is no request.");
    lines.insert(lines.end(), {"Start: true", "Command finished with status 0"});
    expectLog(lines);
}

TEST_F(ServiceTest, TakesTheLongestMessage) {
    serve();
    // Long enough that the message comes in many pieces; the shell itself takes no more of one argument.
    EXPECT_EQ(run(": " + std::string(100'000, 'x')), kSuccess);
    EXPECT_EQ(run(": " + std::string(1'000'000, 'x')), "Command could not be started");
}

TEST_F(ServiceTest, ServesTheOthersWhileASlowClientHasTime) {
    listenerOptions_.requestTimeout = 1h;
    serve();
    const RawClient silent = connect();
    const RawClient slow = connect();
    const std::string request = *encodeFrame({{kCommandKey, "exit 6"}});
    slow.send(request.substr(0, 20));
    EXPECT_EQ(run("true"), kSuccess);
    slow.send(request.substr(20));
    EXPECT_EQ(slow.reply(), "Command finished with status 6");
}

TEST_F(ServiceTest, DropsASlowClient) {
    listenerOptions_.requestTimeout = 150ms;
    serve();
    const RawClient silent = connect();
    const RawClient slow = connect();
    slow.send(encodeFrame({{kCommandKey, "true"}})->substr(0, 20));
    EXPECT_EQ(silent.reply(), kDropped);
    EXPECT_EQ(slow.reply(), kDropped);
    expectLog({"Ready.", "Dropped a client that was too slow.", "Dropped a client that was too slow."});
}

TEST_F(ServiceTest, TakesARequestInPieces) {
    serve();
    const RawClient client = connect();
    const std::string frame = *encodeFrame({{kCommandKey, "exit 4"}});
    for (const char byte : frame) {
        client.send(std::string(1, byte));
    }
    EXPECT_EQ(client.reply(), "Command finished with status 4");
}

TEST_F(ServiceTest, GoesOnWithoutAClientThatLeaves) {
    serve();
    RawClient client = connect();
    client.install("sleep 0.1; echo late", root_.progressFile());
    waitUntil([this] { return fs::exists(root_.progressFile()); });
    client.leave();
    waitUntil([this] { return test::contentOf(root_.progressFile()) == "late\nInstallation_Done\n"; });
    EXPECT_EQ(run("true"), kSuccess);
}

TEST_F(ServiceTest, AnswersNobodyItDoesNotTrust) {
    listenerOptions_.isTrusted = [](uid_t) { return false; };
    serve();
    EXPECT_EQ(run("touch " + root_.at("/ran")), kDropped);
    EXPECT_FALSE(fs::exists(root_.at("/ran")));
}

TEST_F(ServiceTest, LooksAtEachConnectionWhoItIsOf) {
    listenerOptions_.isTrusted = [asked = 0](uid_t user) mutable { return ++asked == 1 && user == getuid(); };
    serve();
    EXPECT_EQ(run("true"), kSuccess);
    EXPECT_EQ(run("touch " + root_.at("/ran")), kDropped);
    EXPECT_FALSE(fs::exists(root_.at("/ran")));
}

TEST_F(ServiceTest, TakesOneRequestOfAConnection) {
    serve();
    const RawClient client = connect();
    const std::string frame = *encodeFrame({{kCommandKey, "echo x >>" + root_.at("/runs")}});
    client.send(frame + frame);
    EXPECT_EQ(client.reply(), kSuccess);
    EXPECT_EQ(run("true"), kSuccess);
    EXPECT_EQ(test::contentOf(root_.at("/runs")), "x\n");
}

/// Connections of one kind, of which there are many.
struct Crowd {
    const char *name;
    const char *bytes; ///< that each of them sends
    bool isTrusted;
};
void PrintTo(const Crowd &crowd, std::ostream *stream) {
    *stream << crowd.name;
}

class CrowdTest : public ServiceTest, public testing::WithParamInterface<Crowd> {
protected:
    std::size_t descriptors() const {
        const fs::directory_iterator all("/proc/" + std::to_string(process_) + "/fd");
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }
};

TEST_P(CrowdTest, IsBorneAndTheNextClientIsServed) {
    constexpr int kCount = 200;
    listenerOptions_.requestTimeout = 150ms;
    listenerOptions_.isTrusted = [asked = 0](uid_t) mutable {
        const int before = asked++;
        return GetParam().isTrusted || before == 0 || before > kCount;
    };
    serve();
    EXPECT_EQ(run("true"), kSuccess);
    const std::size_t before = descriptors(); // it may not have let go of all of the first client's yet
    std::vector<RawClient> crowd;
    for (int i = 0; i < kCount; ++i) {
        crowd.push_back(connect());
        crowd.back().send(GetParam().bytes);
    }
    EXPECT_EQ(run("true"), kSuccess);
    for (const RawClient &client : crowd) {
        EXPECT_EQ(client.reply(), kDropped);
    }
    waitUntil([&] { return descriptors() <= before; });
    EXPECT_EQ(run("exit 3"), "Command finished with status 3");
}

INSTANTIATE_TEST_SUITE_P(Kinds, CrowdTest,
                         testing::Values(Crowd{"Silent", "", true}, Crowd{"HalfALength", "\1", true},
                                         Crowd{"Nonsense", "GET / HTTP/1.1\r\n\r\n", true},
                                         Crowd{"Refused", "", false}),
                         [](const auto &row) { return row.param.name; });

TEST_F(ServiceTest, ServesThirtyTwoClientsAndCommandsAtATime) {
    SocketListener listener(socket_.listen(), listenerOptions_);
    listener.open();
    CommandQueue commands(options_.commands);
    std::vector<RawClient> clients;
    for (int i = 0; i < 40; ++i) {
        clients.push_back(connect());
    }
    clients.front().request("true");
    const auto taken = [&] { return listener.descriptors(commands).size() - 1; };
    listener.takeRequests(commands);
    EXPECT_EQ(taken(), 32U);
    EXPECT_EQ(listener.descriptors(commands).front(), -1) << "it listens for no more";
    listener.takeRequests(commands);
    EXPECT_EQ(commands.size(), 1U);
    EXPECT_EQ(taken(), 31U) << "the command counts as well";
    clients.back().leave(); // which has not been taken
    clients[1].leave();
    listener.takeRequests(commands);
    EXPECT_EQ(taken(), 31U) << "another came in its place";
    commands.endAll();
}

TEST_F(ServiceTest, ADripOfBytesGivesNoMoreTime) {
    listenerOptions_.requestTimeout = 300ms;
    serve();
    const RawClient client = connect();
    const std::string frame = *encodeFrame({{kCommandKey, "touch " + root_.at("/ran") + std::string(4000, ' ')}});
    for (std::size_t i = 0; i + 1 < frame.size() && log().find("too slow") == std::string::npos; ++i) {
        client.send(frame.substr(i, 1));
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_NE(log().find("too slow"), std::string::npos);
    EXPECT_EQ(client.reply(), kDropped);
    EXPECT_FALSE(fs::exists(root_.at("/ran")));
}

TEST_F(ServiceTest, HasTheTimesThatAreTold) {
    EXPECT_EQ(SocketListener::Options().requestTimeout, 10s);
    EXPECT_EQ(CommandLimits().killGrace, 5s);
}

TEST_F(ServiceTest, TellsOfAStrangerOnce) {
    listenerOptions_.isTrusted = [](uid_t) { return false; };
    serve();
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(run("true"), kDropped);
    }
    expectLog({"Ready.", "Refused a client of the user " + std::to_string(getuid()) + "."});
}

TEST_F(ServiceTest, RestsWhenItHasNoDescriptorForAClient) {
    serve();
    EXPECT_EQ(run("true"), kSuccess);
    rlimit before{};
    ASSERT_EQ(prlimit(process_, RLIMIT_NOFILE, nullptr, &before), 0);
    const rlimit none{.rlim_cur = 3, .rlim_max = before.rlim_max};
    ASSERT_EQ(prlimit(process_, RLIMIT_NOFILE, &none, nullptr), 0);
    const RawClient client = connect();
    client.request("exit 5");
    const auto cpuTime = [this] { return test::contentOf("/proc/" + std::to_string(process_) + "/schedstat"); };
    const long before100 = std::stol(cpuTime());
    std::this_thread::sleep_for(500ms);
    EXPECT_LT(std::stol(cpuTime()) - before100, 100'000'000) << "nanoseconds, of 500 million: it spins";
    ASSERT_EQ(prlimit(process_, RLIMIT_NOFILE, &before, nullptr), 0);
    EXPECT_EQ(client.reply(), "Command finished with status 5");
}

TEST_F(ServiceTest, LeavesTheOthersTheirTurnHoweverManyStrangersCome) {
    int strangers = 0;
    listenerOptions_.isTrusted = [&strangers](uid_t) {
        ++strangers;
        return false;
    };
    UniqueFd listening = socket_.listen();
    ASSERT_EQ(listen(listening.get(), 300), 0);
    SocketListener listener(std::move(listening), listenerOptions_);
    listener.open();
    std::vector<UniqueFd> waiting(300);
    for (UniqueFd &connection : waiting) {
        connection = socket_.connect();
    }
    CommandQueue commands(options_.commands);
    listener.takeRequests(commands);
    EXPECT_EQ(strangers, 128);
    listener.takeRequests(commands);
    listener.takeRequests(commands);
    EXPECT_EQ(strangers, 300);
}

TEST_F(ServiceTest, DropsTheClientOfAFileThatGrowsBeyondTheLimitAndGoesOn) {
    serve();
    EXPECT_EQ(run("true"), kSuccess);
    rlimit small{};
    ASSERT_EQ(prlimit(process_, RLIMIT_FSIZE, nullptr, &small), 0);
    small.rlim_cur = 64 << 10;
    ASSERT_EQ(prlimit(process_, RLIMIT_FSIZE, &small, nullptr), 0);
    EXPECT_EQ(install("yes line | head -c 200000"), kDropped);
    EXPECT_EQ(run("kill -XFSZ $$"), "Command was ended by signal " + std::to_string(SIGXFSZ));
    expectLog({"Ready.", "Start: true", "Command finished with status 0", "Start: yes line | head -c 200000",
               "The progress file cannot be written; its client is dropped.", "Command finished with status 0",
               "Start: kill -XFSZ $$", "Command was ended by signal " + std::to_string(SIGXFSZ)});
}

TEST_F(ServiceTest, TrustsTheOwnerOfTheFolderThatItBeganWith) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    fs::create_directory(root_.at("/played"));
    const auto trusted = trustRootAndOwner(root_.at("/played"));
    fs::rename(root_.at("/played"), root_.at("/moved"));
    fs::create_directory(root_.at("/played"));
    ASSERT_EQ(chown(root_.at("/played").c_str(), 4711, 4711), 0);
    EXPECT_FALSE(trusted(4711));
    ASSERT_EQ(chown(root_.at("/moved").c_str(), 4712, 4712), 0);
    EXPECT_TRUE(trusted(4712));
}

TEST_F(ServiceTest, IsTrustedByRootAndTheOwner) {
    const auto trusted = trustRootAndOwner(root_.path());
    EXPECT_TRUE(trusted(0));
    EXPECT_TRUE(trusted(getuid()));
    EXPECT_FALSE(trusted(getuid() + 4711));
    EXPECT_FALSE(trustRootAndOwner(root_.at("/missing"))(getuid() + 4711));
}

/// Only root can become somebody else; an ordinary user's half of this is AnswersNobodyItDoesNotTrust.
TEST_F(ServiceTest, SeesWhoTheClientReallyIs) {
    serveRootAndOwner();
    EXPECT_EQ(run("true"), kSuccess);
    if (geteuid() == 0) {
        EXPECT_TRUE(refuses(65534));
    }
}

/// What counts is who connected, in whosever hands the connection is when it asks.
TEST_F(ServiceTest, TrustsAConnectionAsItWasMade) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become somebody else";
    }
    serveRootAndOwner();
    ASSERT_EQ(seteuid(65534), 0);
    const RawClient strangers = connect();
    ASSERT_EQ(seteuid(0), 0);
    strangers.request("touch " + root_.at("/ran"));
    EXPECT_EQ(strangers.reply(), kDropped);
    EXPECT_FALSE(fs::exists(root_.at("/ran")));

    const RawClient own = connect();
    EXPECT_TRUE(holdsAs(65534, [&own] {
        own.request("true");
        return own.reply() == kSuccess;
    }));
}

TEST_F(ServiceTest, TellsOfEachStrangerOnce) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become somebody else";
    }
    serveRootAndOwner();
    for (const uid_t user : {4711U, 4712U, 4711U, 4712U}) {
        EXPECT_TRUE(refuses(user));
    }
    expectLog({"Ready.", "Refused a client of the user 4711.", "Refused a client of the user 4712."});
}

TEST_F(ServiceTest, EndsWithNothingToDo) {
    options_.idle = 20ms;
    serve();
    EXPECT_EQ(waitForEnd(), 0);
    EXPECT_FALSE(socket_.entry());
    EXPECT_FALSE(connect().isConnected());
}

TEST_F(ServiceTest, StaysForItsTimeOnceItsLastClientHasGone) {
    options_.idle = 200ms;
    UniqueFd listening = socket_.listen();
    const RawClient client = connect();
    serve(std::move(listening));
    const auto asked = std::chrono::steady_clock::now();
    client.request("sleep 0.9"); // longer than that, and it ends between two looks of the service at its socket
    EXPECT_EQ(client.reply(), kSuccess);
    EXPECT_EQ(waitForEnd(), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - asked, 900ms + options_.idle);
}

TEST_F(ServiceTest, DoesNotEndWhileACommandRuns) {
    options_.idle = 5ms;
    UniqueFd listening = socket_.listen();
    const RawClient client = connect();
    client.request("sleep 0.2; exit 6");
    serve(std::move(listening));
    EXPECT_EQ(client.reply(), "Command finished with status 6");
    EXPECT_EQ(waitForEnd(), 0);
}

TEST_F(ServiceTest, DoesNotEndWhileSomebodyHoldsTheLock) {
    options_.idle = 0ms;
    UniqueFd lock = socket_.tryLock();
    serve(&lock);
    for (int i = 0; i < 20; ++i) { // after each it has nothing to do
        EXPECT_EQ(run("true"), kSuccess);
    }
    lock.reset();
    EXPECT_EQ(waitForEnd(), 0);
}

TEST_F(ServiceTest, LeavesASocketThatIsNotItsOwn) {
    options_.idle = 300ms;
    serve();
    EXPECT_EQ(run("true"), kSuccess);
    const UniqueFd other = socket_.listen();
    EXPECT_EQ(waitForEnd(), 0);
    EXPECT_TRUE(socket_.entry());
}

TEST_F(ServiceTest, EndsSoonOnceItsSocketIsTakenAwayAndServesWhoCameBefore) {
    options_.idle = 2h;
    serve();
    EXPECT_EQ(run("true"), kSuccess);
    const RawClient before = connect();
    socket_.remove();
    before.request("exit 7");
    EXPECT_EQ(before.reply(), "Command finished with status 7");
    EXPECT_EQ(waitForEnd(), 0);
}

TEST_F(ServiceTest, EndsTheCommandAndDropsItsClientWhenAskedToEnd) {
    serve();
    const RawClient client = connect();
    client.install("echo begun; sleep 300", root_.progressFile());
    waitUntil([this] { return test::contentOf(root_.progressFile()) == "begun\n"; });
    kill(process_, SIGTERM);
    EXPECT_EQ(client.reply(), kDropped);
    EXPECT_EQ(waitForEnd(), 0);
    EXPECT_EQ(test::contentOf(root_.progressFile()),
              "begun\ninstaller: The install failed (the helper was asked to end)\nInstallation_Done\n");
}

TEST_F(ServiceTest, WritesNoMoreIntoTheFileOfTheNextOnceItIsAskedToEnd) {
    serve();
    const RawClient client = connect();
    client.install("trap 'touch " + root_.at("/asked") + "; while [ ! -e " + root_.at("/go") +
                       " ]; do sleep 0.01; done; echo late; exit' TERM; echo begun; while :; do sleep 0.01; done",
                   root_.progressFile());
    waitUntil([this] { return test::contentOf(root_.progressFile()) == "begun\n"; });
    kill(process_, SIGTERM);
    EXPECT_EQ(client.reply(), kDropped);
    waitUntil([this] { return fs::exists(root_.at("/asked")); });
    fs::remove(root_.progressFile()); // as the next client does, whose helper makes it anew
    std::ofstream(root_.progressFile()) << "the next one's\n";
    std::ofstream(root_.at("/go")).put('\n');
    EXPECT_EQ(waitForEnd(), 0);
    EXPECT_EQ(test::contentOf(root_.progressFile()), "the next one's\n");
}

TEST_F(ServiceTest, EndsAtOnceWhenAskedWithNothingToDo) {
    serve();
    EXPECT_EQ(run("true"), kSuccess);
    kill(process_, SIGTERM);
    EXPECT_EQ(waitForEnd(), 0);
}

/// The registered program, which waits for an earlier helper to end.
class SecondHelper : public ServiceTest {
protected:
    SecondHelper() {
        root_.registerHelper(KYB_HELPER_PROGRAM);
        const UniqueFd listening = socket_.listen();
        const UniqueFd errors(open(root_.at("/var/log/service.log").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
        process_ = *spawn({.arguments = {root_.helperFile()},
                           .environment = {{"LISTEN_FDS=1"}},
                           .descriptors = {kDevNull, kDevNull, errors.get(), listening.get()}});
        waitUntil([this] { return log().find("Waits for an earlier helper") != std::string::npos; });
    }

    /// Gives the root folder another name. \return its path.
    std::string moveRoot() const {
        fs::rename(root_.path(), root_.beside("moved"));
        return root_.beside("moved");
    }

    UniqueFd earlier_ = socket_.tryLockOfServer();
};

TEST_F(SecondHelper, SaysOnceThatItWaits) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // for many looks
    earlier_.reset();
    EXPECT_EQ(run("true"), kSuccess);
    const std::vector<std::string> messages = test::messagesOf(log());
    EXPECT_EQ(std::ranges::count(messages, "Waits for an earlier helper tool to end."), 1) << log();
}

TEST_F(SecondHelper, TrustsTheOwnerOfTheFolderThatItWasStartedIn) {
    moveRoot();
    if (geteuid() == 0) {
        fs::create_directory(root_.path());
        ASSERT_EQ(chown(root_.path().c_str(), 4711, 4711), 0);
    }
    earlier_.reset();
    EXPECT_EQ(run("true"), kSuccess);
    if (geteuid() == 0) {
        EXPECT_TRUE(refuses(4711));
    }
}

/// NB: so a program that root starts in somebody else's folder makes him root, as docs/security.md says.
TEST_F(SecondHelper, RunsTheOwnersCommandsWithTheRightsOfWhoeverStartedIt) {
    const uid_t owner = geteuid() == 0 ? 4711 : geteuid();
    ASSERT_EQ(chown(root_.path().c_str(), owner, gid_t(-1)), 0);
    earlier_.reset();
    const std::string command = "id -u >" + root_.at("/who");
    if (geteuid() == 0) {
        EXPECT_TRUE(holdsAs(owner, [&] { return run(command) == kSuccess; }));
    } else {
        EXPECT_EQ(run(command), kSuccess);
    }
    EXPECT_EQ(test::contentOf(root_.at("/who")), std::to_string(geteuid()) + "\n");
}

TEST_F(SecondHelper, WritesTheProgressFileInTheFolderThatItWasStartedInWhateverItsName) {
    earlier_.reset();
    EXPECT_EQ(run("true"), kSuccess);
    const std::string moved = moveRoot();
    root_.clear(); // another folder of the old name
    const RawClient mistaken = connect();
    mistaken.install("echo line", root_.progressFile());
    EXPECT_EQ(mistaken.reply(), kDropped);
    const RawClient client = connect();
    client.install("echo line", moved + kProgressMessageFile);
    EXPECT_EQ(client.reply(), kSuccess);
    EXPECT_EQ(test::contentOf(moved + kProgressMessageFile), "line\nInstallation_Done\n");
    EXPECT_FALSE(fs::exists(root_.progressFile()));
}

/// What two readers of the file hear that look at its last two lines as the program does, `delay` after the request.
class LateReader : public ServiceTest, public testing::WithParamInterface<std::chrono::milliseconds> {};

TEST_P(LateReader, MeetsTheFailure) {
    options_.commands = {.successHold = 100ms, .failureHold = 1s, .lookInterval = 10ms};
    serve();
    const RawClient client = connect();
    client.install("exit 3", root_.progressFile());
    client.waitUntilTaken();
    std::this_thread::sleep_for(GetParam());
    std::string seen; // the last line but one, as the program reads it
    for (int look = 0; seen.find("The install failed (exit status 3)") == std::string::npos; ++look) {
        ASSERT_LT(look, 2000) << "the failure is never seen";
        ASSERT_EQ(seen.find("Installation_Done"), std::string::npos) << "the end, before the failure was seen";
        const auto lines = test::runProgram({"/usr/bin/tail", "-2", root_.progressFile()}).lines;
        seen = lines.empty() ? "" : lines.front();
    }
}

INSTANTIATE_TEST_SUITE_P(Delays, LateReader, testing::Values(0ms, 30ms, 500ms, 950ms, 1050ms, 2s, 10s),
                         [](const auto &row) { return "After" + std::to_string(row.param.count()) + "ms"; });

} // namespace
} // namespace kyb::helper
