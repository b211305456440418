#include "SilentRun.h"

namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::Not;

/// A Mac that a management agent has set up.
class FleetRun : public SilentRun {
protected:
    FleetRun() {
        root.putProgram("/bin/launchctl", "#!/bin/sh\nexit 0\n");
        const fs::path driver = root.beside("driver");
        fs::create_directories(driver);
        kyb::test::makePackage(driver / "Brelund Quorlix Driver.pkg", {"--version", "7.0"});
        kyb::test::writeText(driver / "macver.list", "Brelund Quorlix Driver=7.0\n");
        const std::string package = root.beside("fleet.pkg");
        kyb::test::makeFleetPackage(package, KYB_BUNDLE, driver, {"--version", "1.0", "--job", KYB_HELPER_JOB});
        const Ran ran = kyb::test::runProgram({root.at("/usr/sbin/installer"), "-pkg", package, "-target", "/"});
        EXPECT_EQ(ran.status, 0) << ran.lastLine();
        setInstallerFolder("MacintoshHD/Library/Application Support/Brelund Quorlix Installer");
    }
};

TEST_F(FleetRun, InstallsWithoutRegisteringTheHelper) {
    const Ran outcome = run();
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(root.installedVersion(), "7.0");
    EXPECT_THAT(root.logEntries(), Contains("Installing " + package()));
    EXPECT_THAT(root.logEntries(), Not(Contains("Authorization successful")));
    EXPECT_EQ(fs::status(root.helperFile()).permissions(), fs::perms(0544)) << "it is the package's";
}

} // namespace
