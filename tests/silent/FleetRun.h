#pragma once

#include "SilentRun.h"

/// A Mac that a management agent has set up.
class FleetRun : public SilentRun {
protected:
    FleetRun() {
        const std::filesystem::path driver = root.beside("driver");
        std::filesystem::create_directories(driver);
        kyb::test::makePackage(driver / "Brelund Quorlix Driver.pkg", {"--version", "7.0"});
        kyb::test::writeText(driver / "macver.list", "Brelund Quorlix Driver=7.0\n");
        const std::string package = root.beside("fleet.pkg");
        kyb::test::makeFleetPackage(package, KYB_BUNDLE, driver, {"--version", "1.0", "--job", KYB_HELPER_JOB});
        const Ran ran = kyb::test::runProgram({root.at("/usr/sbin/installer"), "-pkg", package, "-target", "/"});
        EXPECT_EQ(ran.status, 0) << ran.lastLine();
        setInstallerFolder("MacintoshHD/Library/Application Support/Brelund Quorlix Installer");
    }
};
