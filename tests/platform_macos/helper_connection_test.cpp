#include "platform/helper_connection.h"

#include "InBox.h"
#include "ScriptedService.h"
#include "base/threads.h"
#include "box.h"
#include "channel/message_keys.h"
#include "support/turn_until.h"

#include <cstdlib>
#include <mutex>
#include <xpc/xpc.h>

using namespace kyb;
using kyb::test::turnUntil;
using macbox::Frame;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class HelperConnectionOnMac : public InBox {
protected:
    HelperConnection connect() {
        const HelperConnection connection = createHelperConnection(kHelperServiceName);
        setConnectionEventHandler(connection, [this](const ConnectionEvent &event) {
            const std::lock_guard lock(mutex_);
            events_.push_back(event);
            eventsOnMainThread_ = isMainThread();
        });
        resumeConnection(connection);
        return connection;
    }

    void send(HelperConnection connection, const HelperMessage &message = {{kCommandKey, "true"}}) {
        sendMessageWithReply(connection, message, [this](const std::optional<QByteArray> &reply) {
            replies_.push_back(reply);
            repliesOnMainThread_ = isMainThread();
        });
        releaseConnection(connection);
    }

    std::vector<ConnectionEvent> events() const {
        const std::lock_guard lock(mutex_);
        return events_;
    }
    std::vector<ConnectionEventKind> kinds() const {
        std::vector<ConnectionEventKind> kinds;
        for (const ConnectionEvent &event : events()) {
            kinds.push_back(event.kind);
        }
        return kinds;
    }
    void waitForEvents(std::size_t count) {
        EXPECT_TRUE(turnUntil([&] { return events().size() == count; }));
    }
    void waitForReply() {
        EXPECT_TRUE(turnUntil([&] { return !replies_.empty(); }));
        settle();
    }

    std::vector<std::optional<QByteArray>> replies_;
    bool eventsOnMainThread_ = false;
    bool repliesOnMainThread_ = false;

private:
    mutable std::mutex mutex_;
    std::vector<ConnectionEvent> events_;
};

const HelperMessage kInstallation = {{kCommandKey, "install"}, {kInstallerLogPathKey, "/tmp/log"}};

TEST_F(HelperConnectionOnMac, AsksTheSystemInThisOrderAndWithTheseConstants) {
    ScriptedService service(root);
    const HelperConnection connection = connect();
    send(connection, kInstallation);
    EXPECT_THAT(calls(),
                ElementsAre("xpc_connection_create_mach_service name=com.kyb.HelperTool.xpc queue=null flags=2",
                            "xpc_connection_set_event_handler connection", "xpc_connection_resume connection",
                            "xpc_connection_send_message_with_reply connection "
                            "message={command_to_be_execute=install, installerlog_file_path=/tmp/log} queue=main"));
    EXPECT_THAT(service.takeMessage(), ElementsAre(kCommandKey, "install", kInstallerLogPathKey, "/tmp/log"));
    service.reply({"reply", "done"});
    waitForReply();
    expectKept(1); // the connection, which stays
}

TEST_F(HelperConnectionOnMac, HandsTheReplyOverOnTheMainThread) {
    ScriptedService service(root);
    send(connect());
    service.takeMessage();
    service.reply({"reply", "done", "other", "x"});
    waitForReply();
    EXPECT_THAT(replies_, ElementsAre(QByteArray("done")));
    EXPECT_TRUE(repliesOnMainThread_);
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(HelperConnectionOnMac, TakesAReplyWithoutItsKeyAsNoText) {
    ScriptedService service(root);
    send(connect());
    service.takeMessage();
    service.reply({"answer", "done"});
    waitForReply();
    EXPECT_THAT(replies_, ElementsAre(std::nullopt));
}

TEST_F(HelperConnectionOnMac, SaysWhenThereIsNoHelper) {
    send(connect());
    waitForReply();
    EXPECT_THAT(kinds(), ElementsAre(ConnectionEventKind::Invalid));
    EXPECT_FALSE(eventsOnMainThread_);
    EXPECT_THAT(replies_, ElementsAre(std::nullopt));
}

TEST_F(HelperConnectionOnMac, SaysWhenTheHelperHasGone) {
    ScriptedService service(root);
    send(connect());
    service.takeMessage();
    service.hangUp();
    waitForReply();
    EXPECT_THAT(kinds(), ElementsAre(ConnectionEventKind::Interrupted));
    EXPECT_FALSE(eventsOnMainThread_);
    EXPECT_THAT(replies_, ElementsAre(std::nullopt));
}

TEST_F(HelperConnectionOnMac, TellsAnyOtherErrorAsOneAndAnythingElseByItsType) {
    ScriptedService service(root);
    send(connect());
    service.takeMessage();
    service.send(Frame::Kind::Notice);
    service.send(Frame::Kind::Message, {"unasked", "for"});
    waitForEvents(2);
    EXPECT_THAT(kinds(), ElementsAre(ConnectionEventKind::OtherError, ConnectionEventKind::NotAnError));
    EXPECT_EQ(events()[0].typeDescription, QString());
    EXPECT_EQ(events()[1].typeDescription, QLatin1String("OS_xpc_dictionary"));
    service.hangUp();
    waitForReply();
}

TEST_F(HelperConnectionOnMac, PassesANullConnectionOnToTheSystem) {
    macbox::set("connections", "null");
    const HelperConnection connection = connect();
    EXPECT_EQ(connection, nullptr);
    send(connection);
    EXPECT_THAT(calls(),
                ElementsAre("xpc_connection_create_mach_service name=com.kyb.HelperTool.xpc queue=null flags=2",
                            "xpc_connection_set_event_handler null", "xpc_connection_resume null",
                            "xpc_connection_send_message_with_reply null "
                            "message={command_to_be_execute=true} queue=main",
                            "xpc_release null"));
}

TEST_F(HelperConnectionOnMac, KeepsTheConnectionUntilTheReplyAndNoLonger) {
    ScriptedService service(root);
    const int before = macbox::liveObjects();
    send(connect());
    EXPECT_EQ(macbox::liveObjects(), before + 1) << "the connection, and the message no more";
    service.takeMessage();
    service.reply({"reply", "done"});
    waitForReply();
    EXPECT_TRUE(turnUntil([&] { return macbox::liveObjects() == before; }));
}

TEST_F(HelperConnectionOnMac, StaysAfterTheReplyToAMessageThatNamesTheProgressFile) {
    ScriptedService service(root);
    const int before = macbox::liveObjects();
    send(connect(), kInstallation);
    service.takeMessage();
    service.reply({"reply", "done"});
    waitForReply();
    EXPECT_TRUE(turnUntil([&] { return macbox::liveObjects() == before + 1; }));
    service.send(Frame::Kind::Notice);
    service.hangUp();
    settle();
    EXPECT_THAT(events(), IsEmpty()) << "the helper has ended, after its work";
    expectKept(1);
}

class ErrorOrder : public HelperConnectionOnMac, public testing::WithParamInterface<const char *> {};

TEST_P(ErrorOrder, AnErrorInPlaceOfAReplyDoesNotHideItsEvent) {
    ScriptedService service(root);
    macbox::set("error order", GetParam());
    send(connect(), kInstallation);
    service.takeMessage();
    service.hangUp();
    waitForReply();
    waitForEvents(1);
    expectKept(1);
}
INSTANTIATE_TEST_SUITE_P(First, ErrorOrder, testing::Values("event", "reply"),
                         [](const auto &row) { return row.param; });

/// The system does not say whether it tells a connection that its last reference was given back.
TEST_F(HelperConnectionOnMac, TheEndOfAConnectionThatHasHadItsReplyIsNoEvent) {
    ScriptedService service(root);
    macbox::set("last release", "invalid");
    send(connect());
    service.takeMessage();
    service.reply({"reply", "done"});
    waitForReply();
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(HelperConnectionOnMac, KeepsItsHandlersNoLongerThanTheConnection) {
    const auto token = std::make_shared<int>(0);
    const HelperConnection connection = createHelperConnection(kHelperServiceName);
    setConnectionEventHandler(connection, [token](const ConnectionEvent &) {});
    resumeConnection(connection);
    sendMessageWithReply(connection, {{kCommandKey, "true"}},
                         [this, token](const std::optional<QByteArray> &) { replies_.emplace_back(); });
    releaseConnection(connection);
    EXPECT_GT(token.use_count(), 1);
    waitForReply();
    EXPECT_TRUE(turnUntil([&] { return token.use_count() == 1; }));
}

TEST_F(HelperConnectionOnMac, AsksForTheRunLoopBeforeTheApplicationObjectIsMade) {
    EXPECT_STREQ(std::getenv("QT_EVENT_DISPATCHER_CORE_FOUNDATION"), "1");
}

} // namespace
