#include "platform/helper_connection.h"

#include "base/threads.h"
#include "channel/message_keys.h"
#include "recorded.h"

#include <cstdlib>
#include <future>

using namespace kyb;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

xpc_connection_t system(HelperConnection connection) {
    return reinterpret_cast<xpc_connection_t>(connection);
}

class HelperConnectionOnMac : public OnFakeMac {
protected:
    HelperConnection connect() {
        const HelperConnection connection = createHelperConnection(kHelperServiceName);
        setConnectionEventHandler(connection, [this](const ConnectionEvent &event) {
            events_.push_back(event);
            eventsOnMainThread_ = isMainThread();
        });
        resumeConnection(connection);
        return connection;
    }

    void send(HelperConnection connection, const HelperMessage &message) {
        sendMessageWithReply(connection, message, [this](const std::optional<QByteArray> &reply) {
            replies_.push_back(reply);
            repliesOnMainThread_ = isMainThread();
        });
        releaseConnection(connection);
    }

    void settle() {
        fake::waitForQueues();
        fake::drainMainQueue();
    }

    std::vector<ConnectionEvent> events_;
    std::vector<std::optional<QByteArray>> replies_;
    bool eventsOnMainThread_ = false;
    bool repliesOnMainThread_ = false;
};

TEST_F(HelperConnectionOnMac, AsksTheSystemInThisOrderAndWithTheseConstants) {
    fake::machine().holdMessages = true;
    const HelperConnection connection = connect();
    send(connection, {{kCommandKey, "ls /Applications/"}, {kInstallerLogPathKey, "/tmp/log"}});
    EXPECT_THAT(fake::calls(),
                ElementsAre("xpc_connection_create_mach_service name=com.kyb.HelperTool.xpc queue=null flags=2",
                            "xpc_connection_set_event_handler connection", "xpc_connection_resume connection",
                            "xpc_connection_send_message_with_reply connection "
                            "message={command_to_be_execute=ls /Applications/, installerlog_file_path=/tmp/log} "
                            "queue=main"));
    fake::deliverReply({{"reply", "done"}});
    settle();
    xpc_release(system(connection)); // which stays
}

TEST_F(HelperConnectionOnMac, HandsTheReplyOverOnTheMainThread) {
    fake::machine().holdMessages = true;
    send(connect(), {{kCommandKey, "true"}});
    fake::deliverReply({{"reply", "done"}, {"other", "x"}});
    EXPECT_THAT(replies_, IsEmpty());
    settle();
    EXPECT_THAT(replies_, ElementsAre(QByteArray("done")));
    EXPECT_TRUE(repliesOnMainThread_);
    EXPECT_THAT(events_, IsEmpty());
}

TEST_F(HelperConnectionOnMac, TakesAReplyWithoutItsKeyAsNoText) {
    fake::machine().holdMessages = true;
    send(connect(), {{kCommandKey, "true"}});
    fake::deliverReply({{"answer", "done"}});
    settle();
    EXPECT_THAT(replies_, ElementsAre(std::nullopt));
}

TEST_F(HelperConnectionOnMac, TakesAnErrorInPlaceOfTheReplyAsNoText) {
    fake::machine().holdMessages = true;
    send(connect(), {{kCommandKey, "true"}});
    fake::deliverReply(XPC_ERROR_CONNECTION_INTERRUPTED);
    settle();
    EXPECT_THAT(replies_, ElementsAre(std::nullopt));
}

TEST_F(HelperConnectionOnMac, SaysWhenThereIsNoHelper) {
    send(connect(), {{kCommandKey, "true"}});
    settle();
    ASSERT_EQ(events_.size(), 1U);
    EXPECT_EQ(events_[0].kind, ConnectionEventKind::Invalid);
    EXPECT_FALSE(eventsOnMainThread_);
    EXPECT_THAT(replies_, ElementsAre(std::nullopt));
}

struct EventRow {
    const char *name;
    const void *object;
    ConnectionEventKind kind;
    const char *typeDescription;
};

const EventRow kEvents[] = {
    {"Interrupted", XPC_ERROR_CONNECTION_INTERRUPTED, ConnectionEventKind::Interrupted, ""},
    {"Invalid", XPC_ERROR_CONNECTION_INVALID, ConnectionEventKind::Invalid, ""},
    {"AnotherError", XPC_ERROR_TERMINATION_IMMINENT, ConnectionEventKind::OtherError, ""},
};

class ConnectionEventOnMac : public HelperConnectionOnMac, public testing::WithParamInterface<EventRow> {};

TEST_P(ConnectionEventOnMac, IsToldByItsKind) {
    const HelperConnection connection = connect();
    fake::deliverEvent(system(connection), GetParam().object);
    releaseConnection(connection);
    ASSERT_EQ(events_.size(), 1U);
    EXPECT_EQ(events_[0].kind, GetParam().kind);
    EXPECT_EQ(events_[0].typeDescription, QLatin1String(GetParam().typeDescription));
    EXPECT_FALSE(eventsOnMainThread_);
}
INSTANTIATE_TEST_SUITE_P(Events, ConnectionEventOnMac, testing::ValuesIn(kEvents),
                         [](const auto &row) { return row.param.name; });

TEST_F(HelperConnectionOnMac, NamesTheTypeOfAnEventThatIsNoError) {
    const HelperConnection connection = connect();
    xpc_object_t message = xpc_dictionary_create(nullptr, nullptr, 0);
    fake::deliverEvent(system(connection), message);
    xpc_release(message);
    releaseConnection(connection);
    ASSERT_EQ(events_.size(), 1U);
    EXPECT_EQ(events_[0].kind, ConnectionEventKind::NotAnError);
    EXPECT_EQ(events_[0].typeDescription, QLatin1String("OS_xpc_dictionary"));
}

TEST_F(HelperConnectionOnMac, DeliversEveryEventOfAConnection) {
    const HelperConnection connection = connect();
    fake::deliverEvent(system(connection), XPC_ERROR_CONNECTION_INTERRUPTED);
    fake::deliverEvent(system(connection), XPC_ERROR_CONNECTION_INVALID);
    releaseConnection(connection);
    ASSERT_EQ(events_.size(), 2U);
    EXPECT_EQ(events_[1].kind, ConnectionEventKind::Invalid);
}

TEST_F(HelperConnectionOnMac, PassesANullConnectionOnToTheSystem) {
    fake::machine().connectionsAreNull = true;
    const HelperConnection connection = connect();
    EXPECT_EQ(connection, nullptr);
    send(connection, {{kCommandKey, "true"}});
    EXPECT_THAT(fake::calls(),
                ElementsAre("xpc_connection_create_mach_service name=com.kyb.HelperTool.xpc queue=null flags=2",
                            "xpc_connection_set_event_handler null", "xpc_connection_resume null",
                            "xpc_connection_send_message_with_reply null message={command_to_be_execute=true} "
                            "queue=main",
                            "xpc_release null"));
}

TEST_F(HelperConnectionOnMac, KeepsTheConnectionUntilTheReplyAndNoLonger) {
    const int before = fake::liveObjects();
    fake::machine().holdMessages = true;
    send(connect(), {{kCommandKey, "true"}});
    EXPECT_EQ(fake::liveObjects(), before + 1) << "the connection, and the message no more";
    fake::deliverReply({{"reply", "done"}});
    settle();
    EXPECT_EQ(fake::liveObjects(), before);
}

TEST_F(HelperConnectionOnMac, StaysAfterTheReplyToAMessageThatNamesTheProgressFile) {
    const int before = fake::liveObjects();
    fake::machine().holdMessages = true;
    const HelperConnection connection = connect();
    send(connection, {{kCommandKey, "true"}, {kInstallerLogPathKey, "/var/tmp/kyb/progress"}});
    fake::deliverReply({{"reply", "done"}});
    settle();
    EXPECT_EQ(fake::liveObjects(), before + 1);
    fake::deliverEvent(system(connection), XPC_ERROR_CONNECTION_INTERRUPTED);
    EXPECT_TRUE(events_.empty()) << "the helper has ended, after its work";
    xpc_release(system(connection));
}

TEST_F(HelperConnectionOnMac, AnErrorInPlaceOfAReplyDoesNotHideItsEvent) {
    fake::machine().holdMessages = true;
    const HelperConnection connection = connect();
    send(connection, {{kCommandKey, "true"}, {kInstallerLogPathKey, "/var/tmp/kyb/progress"}});
    fake::deliverReply(XPC_ERROR_CONNECTION_INTERRUPTED);
    settle();
    fake::deliverEvent(system(connection), XPC_ERROR_CONNECTION_INTERRUPTED);
    EXPECT_EQ(events_.size(), 1U);
    xpc_release(system(connection));
}

TEST_F(HelperConnectionOnMac, KeepsItsHandlersNoLongerThanTheConnection) {
    const auto token = std::make_shared<int>(0);
    const HelperConnection connection = createHelperConnection(kHelperServiceName);
    setConnectionEventHandler(connection, [token](const ConnectionEvent &) {});
    resumeConnection(connection);
    sendMessageWithReply(connection, {{kCommandKey, "true"}}, [token](const std::optional<QByteArray> &) {});
    releaseConnection(connection);
    EXPECT_GT(token.use_count(), 1);
    settle();
    fake::waitForQueues();
    EXPECT_EQ(token.use_count(), 1);
}

TEST(RunLoop, IsAskedForBeforeTheApplicationObjectIsMade) {
    const HelperConnection connection = createHelperConnection(kHelperServiceName); // links the part that asks
    setConnectionEventHandler(connection, [](const ConnectionEvent &) {});
    resumeConnection(connection);
    releaseConnection(connection);
    EXPECT_STREQ(std::getenv("QT_EVENT_DISPATCHER_CORE_FOUNDATION"), "1");
}

} // namespace
