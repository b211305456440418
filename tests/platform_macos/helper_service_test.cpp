#include "macos/XpcListener.h"

#include "InBox.h"
#include "Queue.h"
#include "box.h"
#include "code_requirement.h"
#include "session.h"
#include "support/turn_until.h"
#include "wire.h"

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <poll.h>
#include <pthread.h>

using namespace kyb;
using namespace kyb::helper;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

using namespace std::chrono_literals;

/// What a client saw of one request.
struct Outcome {
    std::optional<std::string> reply; ///< the text under "reply"
    bool wasInterrupted = false;
};

/// Runs the service on a thread of its own, and talks to it as the application does.
class HelperServiceOnMac : public InBox {
protected:
    HelperServiceOnMac() {
        std::string pattern = std::filesystem::temp_directory_path() / "kyb_mac_helper_XXXXXX";
        folder_ = mkdtemp(pattern.data());
        progressFile_ = folder_ / "progress.log";
        options_.idle = 5s; // in which a client comes, also on a busy machine
        options_.commands.successHold = options_.commands.failureHold = options_.commands.lookInterval = 1ms;
        publishService();
    }
    ~HelperServiceOnMac() override { std::filesystem::remove_all(folder_); }

    /// This process plays the job: launchd starts nobody, and lets anybody check in.
    void publishService() const {
        macbox::set("check in", "anybody");
        macbox::set("no program", "nothing");
        root.write("/Library/LaunchDaemons/helper.plist", test::contentOf(KYB_BUNDLE_FILES "/launchd.plist"));
        macbox::askLaunchd(root.path(), {"load", "/Library/LaunchDaemons/helper.plist"});
    }

    void start() {
        status_ = std::async(std::launch::async, [this] {
            thread_ = pthread_self();
            XpcListener listener(progressFile_);
            return serve(listener, options_);
        });
        while (calls("xpc_connection_resume listener").empty()) {
            std::this_thread::yield();
        }
    }

    /// The service ends by itself when nobody is connected. Its listener lives as long as the process.
    void waitForEnd() {
        EXPECT_EQ(status_.get(), 0);
        expectKept(1);
    }

    /// As the system ends a job. Only the process's main thread takes signals there: the queues' threads block them.
    void askToEnd() { EXPECT_EQ(pthread_kill(thread_, SIGTERM), 0); }

    using Message = std::map<std::string, std::string>;

    /// A client, whose connection the caller releases.
    static xpc_connection_t connected() {
        xpc_connection_t client = xpc_connection_create_mach_service("com.kyb.HelperTool.xpc", nullptr, 2);
        xpc_connection_set_event_handler(client, ^(xpc_object_t){
                                         });
        xpc_connection_resume(client);
        return client;
    }

    static Outcome ask(const Message &message) {
        xpc_connection_t client = connected();
        Outcome outcome = askOn(client, message);
        xpc_release(client);
        return outcome;
    }

    static Outcome askOn(xpc_connection_t client, const Message &message) {
        auto told = std::make_shared<std::promise<Outcome>>();
        xpc_object_t request = xpc_dictionary_create(nullptr, nullptr, 0);
        for (const auto &[key, value] : message) {
            xpc_dictionary_set_string(request, key.c_str(), value.c_str());
        }
        xpc_connection_send_message_with_reply(client, request, macbox::makeQueue(), ^(xpc_object_t reply) {
          const char *text = xpc_dictionary_get_string(reply, "reply");
          told->set_value({text == nullptr ? std::nullopt : std::optional<std::string>(text),
                           reply == XPC_ERROR_CONNECTION_INTERRUPTED});
        });
        xpc_release(request);
        return told->get_future().get();
    }

    std::string progress() const {
        std::ifstream file(progressFile_);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool exists(const char *name) const { return std::filesystem::exists(folder_ / name); }
    std::string touch(const char *name) const { return "touch '" + (folder_ / name).string() + "'"; }

    std::filesystem::path folder_;
    std::string progressFile_;
    ServiceOptions options_;
    std::future<int> status_;
    pthread_t thread_{}; ///< the service's, which is its process's main thread otherwise
};

TEST_F(HelperServiceOnMac, ListensForTheServiceThatTheJobPublishes) {
    start();
    waitForEnd();
    EXPECT_THAT(calls(), ElementsAre("dispatch_queue_create label=com.kyb.HelperTool.xpc attributes=null",
                                     "xpc_connection_create_mach_service name=com.kyb.HelperTool.xpc queue=own flags=1",
                                     "xpc_connection_set_event_handler listener", "xpc_connection_resume listener",
                                     "xpc_connection_cancel listener"));
}

TEST_F(HelperServiceOnMac, RunsACommandAndAnswersWhenItHasEnded) {
    start();
    const Outcome outcome = ask({{"command_to_be_execute", touch("made")}});
    EXPECT_TRUE(exists("made"));
    EXPECT_THAT(outcome.reply, testing::Optional(HasSubstr("status 0")));
    EXPECT_EQ(progress(), "");
    waitForEnd();
}

TEST_F(HelperServiceOnMac, WritesTheOutputIntoTheProgressFile) {
    start();
    ask({{"command_to_be_execute", "echo one; echo two"}, {"installerlog_file_path", progressFile_}});
    EXPECT_EQ(progress(), "one\ntwo\nInstallation_Done\n");
    waitForEnd();
}

TEST_F(HelperServiceOnMac, RunsACommandInALocaleThatEveryMacHas) {
    start();
    ask({{"command_to_be_execute", "echo $LANG"}, {"installerlog_file_path", progressFile_}});
    EXPECT_EQ(progress(), "en_US.UTF-8\nInstallation_Done\n");
    waitForEnd();
}

TEST_F(HelperServiceOnMac, TellsAFailureInTheProgressFile) {
    start();
    ask({{"command_to_be_execute", "exit 3"}, {"installerlog_file_path", progressFile_}});
    waitForEnd(); // and so until the client has gone
    EXPECT_THAT(progress(), HasSubstr("installer: The install failed ("));
    EXPECT_TRUE(progress().ends_with("Installation_Done\n"));
}

TEST_F(HelperServiceOnMac, WritesToNoOtherFile) {
    start();
    const Outcome outcome =
        ask({{"command_to_be_execute", touch("made")}, {"installerlog_file_path", folder_ / "other"}});
    EXPECT_TRUE(outcome.wasInterrupted);
    EXPECT_FALSE(exists("made"));
    EXPECT_FALSE(exists("other"));
    waitForEnd();
}

TEST_F(HelperServiceOnMac, DropsAMessageWithoutACommand) {
    start();
    EXPECT_TRUE(ask({{"command", touch("made")}}).wasInterrupted);
    EXPECT_FALSE(exists("made"));
    waitForEnd();
}

TEST_F(HelperServiceOnMac, AMessageThatWantsNoReplyGetsNone) {
    start();
    xpc_connection_t client = connected();
    xpc_object_t request = xpc_dictionary_create(nullptr, nullptr, 0);
    xpc_dictionary_set_string(request, "command_to_be_execute", touch("made").c_str());
    xpc_connection_send_message(client, request);
    xpc_release(request);
    EXPECT_TRUE(test::turnUntil([this] { return exists("made"); }));
    EXPECT_TRUE(ask({{"command_to_be_execute", "true"}}).reply) << "it serves the next as well";
    xpc_release(client);
    waitForEnd();
}

TEST_F(HelperServiceOnMac, LooksAtTheCodeThatSentTheMessage) {
    start();
    ask({{"command_to_be_execute", touch("made")}});
    waitForEnd();
    EXPECT_TRUE(exists("made"));
    EXPECT_THAT(calls("Sec"),
                ElementsAre("SecCodeCreateWithXPCMessage message=dictionary flags=0",
                            "SecRequirementCreateWithString text=" + std::string(kClientRequirement) + " flags=0",
                            "SecCodeCheckValidity code=set flags=0 requirement=set"));
}

TEST_F(HelperServiceOnMac, LooksAtTheCodeOfEachMessageOfAConnection) {
    start();
    xpc_connection_t client = connected();
    EXPECT_TRUE(askOn(client, {{"command_to_be_execute", "true"}}).reply);
    macbox::set("message code", "unknown");
    EXPECT_TRUE(askOn(client, {{"command_to_be_execute", touch("made")}}).wasInterrupted);
    xpc_release(client);
    waitForEnd();
    EXPECT_FALSE(exists("made"));
    EXPECT_EQ(calls("SecCodeCreateWithXPCMessage").size(), 2U);
}

TEST_F(HelperServiceOnMac, LooksAtTheCodeOfEachConnection) {
    start();
    EXPECT_TRUE(ask({{"command_to_be_execute", "true"}}).reply);
    macbox::set("code", "stranger");
    EXPECT_TRUE(ask({{"command_to_be_execute", touch("made")}}).wasInterrupted);
    macbox::set("code", "own");
    EXPECT_TRUE(ask({{"command_to_be_execute", "true"}}).reply);
    waitForEnd();
    EXPECT_FALSE(exists("made"));
}

struct RefusalRow {
    const char *name;
    const char *setting;
    const char *value;
};
const RefusalRow kRefusals[] = {
    {"OtherCode", "code", "stranger"},
    {"UnsignedCode", "code", "unsigned"},
    {"OldCode", "code", "old"},
    {"NoCode", "message code", "unknown"},
    {"NoRequirement", "requirement text", "refused"},
};
class RefusedClient : public HelperServiceOnMac, public testing::WithParamInterface<RefusalRow> {};

TEST_P(RefusedClient, RunsNothing) {
    macbox::set(GetParam().setting, GetParam().value);
    start();
    EXPECT_TRUE(ask({{"command_to_be_execute", touch("made")}}).wasInterrupted);
    EXPECT_FALSE(exists("made"));
    waitForEnd();
}
INSTANTIATE_TEST_SUITE_P(Refusals, RefusedClient, testing::ValuesIn(kRefusals),
                         [](const auto &row) { return row.param.name; });

TEST_F(HelperServiceOnMac, TellsOfAStrangerOnce) {
    macbox::set("code", "stranger");
    testing::internal::CaptureStderr();
    start();
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(ask({{"command_to_be_execute", "true"}}).wasInterrupted);
    }
    waitForEnd();
    const std::string lines = testing::internal::GetCapturedStderr();
    const std::string line = "Refused a client of the user " + std::to_string(geteuid()) + ".";
    ASSERT_NE(lines.find(line), std::string::npos);
    EXPECT_EQ(lines.find(line), lines.rfind(line));
}

/// A client that has come before the listener was closed is still served.
TEST_F(HelperServiceOnMac, IsBusyUntilItsListenerHasClosed) {
    macbox::set("delay.closing", "1000");
    XpcListener listener(progressFile_);
    listener.open();
    EXPECT_FALSE(listener.isBusy());
    listener.close();
    EXPECT_TRUE(listener.isBusy());
    EXPECT_TRUE(test::turnUntil([&] { return !listener.isBusy(); }));
    expectKept(1); // the listener
}

TEST(InboxOnMac, IsQuietWhenNobodyIsConnectedAndNothingWaits) {
    Inbox inbox;
    EXPECT_TRUE(inbox.isQuiet());
    inbox.noteClientCame();
    EXPECT_FALSE(inbox.isQuiet());
    inbox.add({.commandLine = "true", .progressFilePath = {}, .answer = {}});
    inbox.noteClientWent();
    EXPECT_FALSE(inbox.isQuiet()) << "its request waits";
    EXPECT_EQ(inbox.takeRequests().size(), 1U);
    EXPECT_TRUE(inbox.isQuiet());
}

/// A queue of the system's that waited would hold up every client.
TEST(InboxOnMac, LetsNobodyWaitHoweverMuchIsNoted) {
    Inbox inbox;
    for (int i = 0; i < 100'000; ++i) { // more than a pipe takes
        inbox.noteClosed();
    }
    pollfd wake{.fd = inbox.wakeFd(), .events = POLLIN, .revents = 0};
    EXPECT_EQ(poll(&wake, 1, 0), 1);
    inbox.takeRequests();
    EXPECT_EQ(poll(&wake, 1, 0), 0);
}

class ProcessTableOnMac : public InBox, public testing::WithParamInterface<const char *> {};

TEST_P(ProcessTableOnMac, HasThisProcess) {
    macbox::set("process table", GetParam());
    EXPECT_THAT(allProcesses(), testing::AllOf(Contains(getpid()), testing::Each(testing::Gt(0))));
}
INSTANTIATE_TEST_SUITE_P(Kinds, ProcessTableOnMac, testing::Values("still", "grows"));

using ProcessTableThatIsRefused = InBox;

TEST_F(ProcessTableThatIsRefused, IsTakenForAnEmptyOne) {
    macbox::set("process table", "refused");
    EXPECT_THAT(allProcesses(), IsEmpty());
}

TEST_F(HelperServiceOnMac, LeavesNothingOfACommandThatIsAskedToEnd) {
    options_.idle = 1h;
    options_.commands.killGrace = 1ms;
    start();
    auto outcome = std::async(std::launch::async, [this] {
        return ask(
            {{"command_to_be_execute",
              R"(LC_ALL=C perl -e 'setpgrp(0, 0); $SIG{TERM} = "IGNORE"; $| = 1; print "$$\n"; sleep 300' & wait)"},
             {"installerlog_file_path", progressFile_}});
    });
    while (progress().find('\n') == std::string::npos) {
        std::this_thread::yield();
    }
    const pid_t inAGroupOfItsOwn = std::stoi(progress());
    ASSERT_EQ(getpgid(inAGroupOfItsOwn), inAGroupOfItsOwn);
    askToEnd();
    EXPECT_TRUE(outcome.get().wasInterrupted);
    waitForEnd();
    EXPECT_THAT(test::stateOf(inAGroupOfItsOwn), testing::AnyOf('X', 'Z'));
}

TEST_F(HelperServiceOnMac, EndsItsCommandAsFailedWhenAskedToEnd) {
    options_.idle = 1h;
    start();
    auto outcome = std::async(std::launch::async, [this] {
        return ask(
            {{"command_to_be_execute", "echo begun; exec sleep 600"}, {"installerlog_file_path", progressFile_}});
    });
    while (progress().find("begun") == std::string::npos) {
        std::this_thread::yield();
    }
    askToEnd();
    EXPECT_TRUE(outcome.get().wasInterrupted);
    waitForEnd();
    EXPECT_TRUE(progress().ends_with("(the helper was asked to end)\nInstallation_Done\n"));
}

} // namespace
