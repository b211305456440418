#include "installer_output.h"

#include <gtest/gtest.h>

namespace kyb::macroot {

TEST(PhaseLine, NamesEveryPhase) {
    const std::pair<Phase, const char *> rows[] = {
        {Phase::PreparingInstallation, "installer:PHASE:Preparing for installation…"},
        {Phase::PreparingDisk, "installer:PHASE:Preparing the disk…"},
        {Phase::PreparingPackage, "installer:PHASE:Preparing Brelund Quorlix Driver…"},
        {Phase::WaitingForOthers, "installer:PHASE:Waiting for other installations to complete…"},
        {Phase::Configuring, "installer:PHASE:Configuring the installation…"},
        {Phase::RunningScripts, "installer:PHASE:Running package scripts…"},
        {Phase::WritingFiles, "installer:PHASE:Writing files…"},
        {Phase::MovingIntoPlace, "installer:PHASE:Moving items into place…"},
        {Phase::Validating, "installer:PHASE:Validating packages…"},
        {Phase::WritingReceipts, "installer:PHASE:Writing package receipts…"},
        {Phase::RegisteringApplications, "installer:PHASE:Registering updated applications…"},
        {Phase::Finishing, "installer:PHASE:Finishing the Installation…"},
        {Phase::CleaningUp, "installer:PHASE:Cleaning up…"},
        {Phase::Optimising, "installer:PHASE:Optimising system for installed software…"},
        {Phase::Installed, "installer:PHASE:The software was successfully installed."},
    };
    for (const auto &[phase, line] : rows) {
        EXPECT_EQ(phaseLine(phase, "Brelund Quorlix Driver"), line);
    }
}

TEST(EndLines, TellInstallFromUpgrade) {
    EXPECT_EQ(successLine(InstallKind::Install), "installer: The install was successful.");
    EXPECT_EQ(successLine(InstallKind::Upgrade), "installer: The upgrade was successful.");
    EXPECT_EQ(failureLine(InstallKind::Install, "why"), "installer: The install failed. (why)");
    EXPECT_EQ(failureLine(InstallKind::Upgrade, "why"), "installer: The upgrade failed. (why)");
}

TEST(PercentMeter, GivesALineForEveryWholePercent) {
    PercentMeter meter(1000);
    EXPECT_EQ(meter.add(1), "installer:%0.100000");
    EXPECT_EQ(meter.add(8), std::nullopt);
    EXPECT_EQ(meter.add(1), "installer:%1.000000");
    EXPECT_EQ(meter.add(9), std::nullopt);
    EXPECT_EQ(meter.add(500), "installer:%51.900000");
    EXPECT_EQ(meter.add(481), "installer:%100.000000");
    EXPECT_EQ(meter.finish(), std::nullopt);
}

TEST(PercentMeter, EndsAtAHundredWithoutAByte) {
    PercentMeter meter(0);
    EXPECT_EQ(meter.finish(), "installer:%100.000000");
    EXPECT_EQ(meter.finish(), std::nullopt);
}

TEST(InstallerOutput, KeepsATextOfThePackageWithinItsLine) {
    testing::internal::CaptureStdout();
    InstallerOutput(Verbosity::Plain, "name").line("a\ninstaller: The install was successful.\r");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "a installer: The install was successful. \n");
}

TEST(InstallerOutput, PrintsProgressOnlyWhenVerbose) {
    testing::internal::CaptureStdout();
    for (const Verbosity verbosity : {Verbosity::Plain, Verbosity::Verbose}) {
        const InstallerOutput output(verbosity, "name");
        output.phase(Phase::PreparingPackage);
        output.status();
        output.percent("installer:%5.000000");
        output.percent(std::nullopt);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "installer:PHASE:Preparing name…\ninstaller:STATUS:\ninstaller:%5.000000\n");
}

} // namespace kyb::macroot
