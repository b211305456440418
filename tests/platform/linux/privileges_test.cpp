#include "ChannelTest.h"
#include "Probe.h"

#include "channel/message_keys.h"
#include "platform/bundle.h"
#include "platform/privileges.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <unistd.h>

namespace kyb {
namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;

class PrivilegesTest : public test::ChannelTest {
protected:
    static bool install(const QString &label = QString::fromLatin1(kHelperLabel)) {
        AdministratorRights rights = nullptr;
        EXPECT_EQ(requestAdministratorRights(&rights), 0);
        return installHelperTool(label, rights, nullptr);
    }

    static std::string bundledHelper() {
        return bundlePath().toStdString() + "/Contents/Library/LaunchServices/" + kHelperLabel;
    }
};

TEST_F(PrivilegesTest, AreGrantedToTheOwnerOfTheRoot) {
    AdministratorRights rights = nullptr;
    EXPECT_EQ(requestAdministratorRights(&rights), 0);
    EXPECT_NE(rights, nullptr);
}

TEST_F(PrivilegesTest, AreRefusedToAnOrdinaryUser) {
    if (geteuid() != 0) { // is one; and "/" belongs to root
        EXPECT_THAT(test::askProbe("KYB_SYSTEM_ROOT=/", "rights"), ElementsAre("-60005", "none"));
        return;
    }
    ASSERT_EQ(seteuid(65534), 0);
    int left = 0;
    auto *rights = reinterpret_cast<AdministratorRights>(&left);
    EXPECT_EQ(requestAdministratorRights(&rights), -60005);
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(rights, reinterpret_cast<AdministratorRights>(&left)) << "left as it was";
}

TEST_F(PrivilegesTest, InstallTheHelperOutOfTheBundle) {
    fs::remove_all(root().at("/var/run"));
    EXPECT_TRUE(install());
    EXPECT_EQ(test::contentOf(root().helperFile()), test::contentOf(bundledHelper()));
    EXPECT_EQ(fs::status(root().helperFile()).permissions(), fs::perms(0755));
    EXPECT_EQ(run("true"), "Command finished with status 0") << "ready to be started on demand";
}

TEST_F(PrivilegesTest, ReplaceAHelperThatIsThereAlsoWhileItRuns) {
    EXPECT_TRUE(install());
    EXPECT_EQ(run("true"), "Command finished with status 0");
    EXPECT_TRUE(install());
    EXPECT_EQ(run("true"), "Command finished with status 0");
    const fs::directory_iterator folder(root().at("/Library/PrivilegedHelperTools"));
    EXPECT_EQ(std::distance(begin(folder), end(folder)), 1) << "nothing temporary is left";
}

TEST_F(PrivilegesTest, TellWhenTheHelperCannotBeInstalled) {
    AdministratorRights rights = nullptr;
    EXPECT_FALSE(installHelperTool(QString::fromLatin1(kHelperLabel), rights, nullptr)) << "without rights";
    EXPECT_FALSE(install(QStringLiteral("com.kyb.Other"))) << "no such program in the bundle";
    EXPECT_FALSE(install(QString()));
    EXPECT_FALSE(install(QStringLiteral("../LaunchServices/") + QString::fromLatin1(kHelperLabel)));

    fs::create_directories(root().helperFile()); // a folder in its place
    EXPECT_FALSE(install());
    fs::remove_all(root().at("/Library"));
    std::ofstream(root().at("/Library")).put('\n'); // a file in the place of its folder
    EXPECT_FALSE(install());
}

TEST_F(PrivilegesTest, ReachAHelperBelowARootWithALongName) {
    const test::RootFolder deep(std::string(120, 'a'));
    deep.registerHelper(bundledHelper());
    EXPECT_THAT(test::askProbe("KYB_SYSTEM_ROOT=" + deep.path(), "send 'exit 9'"),
                ElementsAre("Command finished with status 9"));
}

TEST_F(PrivilegesTest, ReachAHelperBelowALinkToTheRoot) {
    fs::create_directory_symlink(root().path(), root().at("/link"));
    registerHelper();
    EXPECT_THAT(test::askProbe("KYB_SYSTEM_ROOT=" + root().at("/link"), "send 'exit 9'"),
                ElementsAre("Command finished with status 9"));
}

} // namespace
} // namespace kyb
