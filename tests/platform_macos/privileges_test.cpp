#include "platform/privileges.h"

#include "channel/message_keys.h"
#include "platform/helper_connection.h"
#include "recorded.h"
#include "support/Program.h"

#include <atomic>
#include <unistd.h>

using namespace kyb;
using testing::ElementsAre;

namespace {

class PrivilegesOnMac : public OnFakeMac {
protected:
    const QString label_ = QString::fromLatin1(kHelperLabel);
};

constexpr char kRequest[] =
    "AuthorizationCreate rights=[{name=com.apple.ServiceManagement.blesshelper valueLength=0 value=null flags=0}] "
    "environment=null flags=19 slot=null";

TEST_F(PrivilegesOnMac, AsksForTheRightToBlessAHelper) {
    AdministratorRights rights = nullptr;
    EXPECT_EQ(requestAdministratorRights(&rights), 0);
    EXPECT_NE(rights, nullptr);
    EXPECT_THAT(fake::calls(), ElementsAre(kRequest));
}

TEST_F(PrivilegesOnMac, ReturnsTheStatusOfARefusalAndLeavesTheSlotAlone) {
    for (const OSStatus status : {-60005, -60006, -1}) {
        fake::machine().authorizationStatus = status;
        int marker = 0;
        auto *rights = reinterpret_cast<AdministratorRights>(&marker);
        EXPECT_EQ(requestAdministratorRights(&rights), status);
        EXPECT_EQ(rights, reinterpret_cast<AdministratorRights>(&marker));
    }
}

TEST_F(PrivilegesOnMac, BlessesInTheSystemDomainAndNeverFreesTheGrant) {
    AdministratorRights rights = nullptr;
    PlatformError error = nullptr;
    requestAdministratorRights(&rights);
    EXPECT_TRUE(installHelperTool(label_, rights, &error));
    EXPECT_EQ(error, nullptr);
    EXPECT_THAT(fake::calls(),
                ElementsAre(kRequest, "SMJobBless domain=kSMDomainSystemLaunchd label=com.kyb.InstallerHelperTool "
                                      "authorization=the grant error=set"));
}

TEST_F(PrivilegesOnMac, HandsTheErrorSlotToTheSystemAsItIs) {
    const CFErrorRef left = fake::makeError();
    fake::machine().blessResult = false;
    fake::machine().blessError = left;
    PlatformError error = nullptr;
    EXPECT_FALSE(installHelperTool(label_, nullptr, &error));
    EXPECT_EQ(error, reinterpret_cast<PlatformError>(left));
    EXPECT_FALSE(installHelperTool(label_, nullptr, nullptr));
    EXPECT_THAT(callsOf("SMJobBless"),
                ElementsAre(testing::EndsWith("authorization=null error=set"), testing::EndsWith("error=null")));
    CFRelease(left);
}

TEST_F(PrivilegesOnMac, RegistersOnlyAfterTheNewsThatThereIsNoHelper) {
    std::atomic<bool> told{false};
    const HelperConnection connection = createHelperConnection(kHelperServiceName);
    setConnectionEventHandler(connection, [&](const ConnectionEvent &) {
        told = true;
        fake::record("event");
    });
    resumeConnection(connection);
    // The news queues up behind this, so that a registration that does not wait is the first by far.
    dispatch_async(fake::defaultQueue(), ^{
      while (test::stateOf(getpid()) != 'S') { // the main thread, which waits for the news
      }
    });
    sendMessageWithReply(connection, {{kCommandKey, "true"}}, [](const std::optional<QByteArray> &) {});
    releaseConnection(connection);
    installHelperTool(label_, nullptr, nullptr);
    EXPECT_TRUE(told);
    const std::vector<std::string> calls = fake::calls();
    ASSERT_GE(calls.size(), 2U);
    EXPECT_EQ(calls[calls.size() - 2], "event");
    EXPECT_THAT(calls.back(), testing::StartsWith("SMJobBless"));
}

} // namespace
