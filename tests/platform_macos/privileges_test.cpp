#include "platform/privileges.h"

#include "InBox.h"
#include "ScriptedService.h"
#include "box.h"
#include "channel/message_keys.h"
#include "platform/helper_connection.h"

#include <atomic>

using namespace kyb;
using testing::ElementsAre;

namespace {

class PrivilegesOnMac : public InBox {
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
    EXPECT_THAT(calls(), ElementsAre(kRequest));
}

struct RefusalRow {
    const char *user;
    std::int32_t status;
};
class RefusalOnMac : public PrivilegesOnMac, public testing::WithParamInterface<RefusalRow> {};

TEST_P(RefusalOnMac, ReturnsItsStatusAndLeavesTheSlotAlone) {
    macbox::set("user", GetParam().user);
    int marker = 0;
    auto *rights = reinterpret_cast<AdministratorRights>(&marker);
    EXPECT_EQ(requestAdministratorRights(&rights), GetParam().status);
    EXPECT_EQ(rights, reinterpret_cast<AdministratorRights>(&marker));
}
INSTANTIATE_TEST_SUITE_P(Users, RefusalOnMac,
                         testing::Values(RefusalRow{"denies", -60005}, RefusalRow{"cancels", -60006},
                                         RefusalRow{"absent", -60007}),
                         [](const auto &row) { return row.param.user; });

TEST_F(PrivilegesOnMac, BlessesInTheSystemDomainAndNeverFreesTheGrant) {
    AdministratorRights rights = nullptr;
    requestAdministratorRights(&rights);
    EXPECT_FALSE(installHelperTool(label_, rights, nullptr)) << "a test has no helper in a bundle";
    EXPECT_THAT(calls(), ElementsAre(kRequest, "SMJobBless domain=kSMDomainSystemLaunchd "
                                               "label=com.kyb.InstallerHelperTool authorization=set error=null"));
}

TEST_F(PrivilegesOnMac, HandsTheErrorSlotToTheSystemAsItIs) {
    PlatformError error = nullptr;
    EXPECT_FALSE(installHelperTool(label_, nullptr, &error));
    EXPECT_NE(error, nullptr);
    EXPECT_THAT(calls(), ElementsAre(testing::EndsWith("authorization=null error=set")));
    expectKept(1); // the error
}

TEST_F(PrivilegesOnMac, RegistersOnlyAfterTheNewsThatThereIsNoHelper) {
    macbox::set("delay.event", "300");
    std::atomic<bool> told{false};
    const HelperConnection connection = createHelperConnection(kHelperServiceName);
    setConnectionEventHandler(connection, [&](const ConnectionEvent &) {
        told = true;
        macbox::record("event");
    });
    resumeConnection(connection);
    sendMessageWithReply(connection, {{kCommandKey, "true"}}, [](const std::optional<QByteArray> &) {});
    releaseConnection(connection);
    installHelperTool(label_, nullptr, nullptr);
    EXPECT_TRUE(told);
    const std::vector<std::string> all = calls();
    ASSERT_GE(all.size(), 2U);
    EXPECT_EQ(all[all.size() - 2], "event");
    EXPECT_THAT(all.back(), testing::StartsWith("SMJobBless"));
}

/// The program's time limit would end it.
TEST_F(PrivilegesOnMac, WaitsNotLongForAHelperThatHasNotAnswered) {
    ScriptedService service(root);
    const HelperConnection connection = createHelperConnection(kHelperServiceName);
    setConnectionEventHandler(connection, [](const ConnectionEvent &) {});
    resumeConnection(connection);
    sendMessageWithReply(connection, {{kCommandKey, "true"}}, [](const std::optional<QByteArray> &) {});
    releaseConnection(connection);
    service.takeMessage();
    EXPECT_FALSE(installHelperTool(label_, nullptr, nullptr));
    service.reply({kReplyKey, "yes"});
    settle();
}

} // namespace
