// What every machine's helper connection holds to where nobody publishes the service.

#include "base/threads.h"
#include "channel/message_keys.h"
#include "platform/helper_connection.h"
#include "support/turn_until.h"

#include <atomic>
#include <gtest/gtest.h>
#include <vector>

namespace kyb {
namespace {

constexpr char kNobodysService[] = "com.kyb.tests.nobody.xpc";

TEST(HelperConnectionContract, IsInvalidWithoutAService) {
    std::atomic<int> events{0};
    std::atomic<bool> cameInBackground{false};
    std::vector<std::optional<QByteArray>> replies;

    HelperConnection connection = createHelperConnection(kNobodysService);
    ASSERT_NE(connection, nullptr);
    setConnectionEventHandler(connection, [&](const ConnectionEvent &event) {
        EXPECT_EQ(event.kind, ConnectionEventKind::Invalid);
        cameInBackground = !isMainThread();
        ++events;
    });
    resumeConnection(connection);
    sendMessageWithReply(connection, {{kCommandKey, "ls /Applications/"}}, [&](const std::optional<QByteArray> &reply) {
        EXPECT_TRUE(isMainThread());
        replies.push_back(reply);
    });
    releaseConnection(connection);
    EXPECT_TRUE(replies.empty()) << "a reply waits for the main thread's turn";

    EXPECT_TRUE(test::turnUntil([&] { return events > 0 && !replies.empty(); }));
    EXPECT_EQ(events, 1);
    EXPECT_TRUE(cameInBackground);
    ASSERT_EQ(replies.size(), 1U);
    EXPECT_FALSE(replies[0]);
    EXPECT_TRUE(test::turnUntil(isIdle));
}

/// But not before it was resumed, which macOS leaves undefined.
TEST(HelperConnectionContract, MayBeReleasedUnused) {
    HelperConnection connection = createHelperConnection(kNobodysService);
    setConnectionEventHandler(connection, [](const ConnectionEvent &) {});
    resumeConnection(connection);
    releaseConnection(connection);
}

} // namespace
} // namespace kyb
