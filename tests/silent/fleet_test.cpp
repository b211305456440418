#include "FleetRun.h"

namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::Not;

TEST_F(FleetRun, InstallsWithoutRegisteringTheHelper) {
    const Ran outcome = run();
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(root.installedVersion(), "7.0");
    EXPECT_THAT(root.logEntries(), Contains("Installing " + package()));
    EXPECT_THAT(root.logEntries(), Not(Contains("Authorization successful")));
    EXPECT_EQ(fs::status(root.helperFile()).permissions(), fs::perms(0544)) << "it is the package's";
}

} // namespace
