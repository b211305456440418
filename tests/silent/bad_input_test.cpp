#include "SilentRun.h"

#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace std::string_literals;
using testing::HasSubstr;

class BadInput : public SilentRun {
protected:
    /// Runs, and expects a failure that is said on standard output and leaves nothing installed.
    void expectFailure() {
        const Ran outcome = run();
        EXPECT_EQ(outcome.status, 1) << outcome.errors;
        EXPECT_THAT(outcome.lastLine(), testing::EndsWith(":InstallFailed"));
        EXPECT_FALSE(root.exists(kDriver));
    }
};

class FailingPackage : public BadInput, public ::testing::WithParamInterface<const char *> {};

TEST_P(FailingPackage, EndsAsFailedAndLeavesNothing) {
    putInstaller({"--version", "1.0", "--fail", GetParam()});
    expectFailure();
    EXPECT_EQ(root.installedVersion(), "");
}

INSTANTIATE_TEST_SUITE_P(Stages, FailingPackage, ::testing::Values("preinstall", "postinstall", "payload"));

TEST_F(BadInput, APackageThatIsNoneEndsAsFailed) {
    putInstaller();
    kyb::test::writeText(package(), "this is no package");
    expectFailure();
}

TEST_F(BadInput, AnEmptyPackageFileEndsAsFailed) {
    putInstaller();
    kyb::test::writeText(package(), "");
    expectFailure();
}

TEST_F(BadInput, AMissingPackageKeepsTheProcessRunningUntilItIsEnded) {
    putInstaller();
    std::filesystem::remove(package());
    const auto process = start();
    waitUntil([this] { return hasLogged("Silent Installation!!!"); });
    expectToGoOn(*process);
    EXPECT_FALSE(root.exists("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool"));
}

TEST_F(BadInput, AMissingVersionListDoesNotMatterToASilentRun) {
    putInstaller();
    std::filesystem::remove(installerFolder() + "/OSX/macver.list");
    EXPECT_EQ(run().status, 0);
}

struct FolderRow {
    const char *name;
    int status;
};

class PackagePath : public BadInput, public ::testing::WithParamInterface<FolderRow> {};

TEST_P(PackagePath, StandsBetweenQuotesWithNothingEscaped) {
    setInstallerFolder(GetParam().name);
    putInstaller();
    const Ran outcome = run();
    EXPECT_EQ(outcome.status, GetParam().status) << outcome.errors;
    EXPECT_EQ(root.exists(kDriver), GetParam().status == 0);
}

INSTANTIATE_TEST_SUITE_P(Folders, PackagePath,
                         ::testing::Values(FolderRow{"with a blank", 0}, FolderRow{"mit Umläut", 0},
                                           FolderRow{"a single ' quote", 0}, FolderRow{"a double \" quote", 1},
                                           FolderRow{"two \"double\" quotes", 1}, FolderRow{"100%s %1 %@", 0},
                                           FolderRow{"$no_such_variable", 1}));

struct ReceiptRow {
    const char *shows;
    std::string content;
    bool installed;
};

class Receipt : public BadInput, public ::testing::WithParamInterface<ReceiptRow> {};

TEST_P(Receipt, DecidesWhetherAnEarlierVersionIsRemoved) {
    putInstaller();
    root.write("/var/db/receipts/com.Brelund.QuorlixInstaller.plist", GetParam().content);
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(hasLogged("Preparing for Uninstallation!!!"), GetParam().installed);
    EXPECT_EQ(root.installedVersion(), "1.0");
}

const std::string kXmlHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>";
/// {"PackageVersion": "0.9"} as a binary property list.
const std::string kBinaryReceipt = "bplist00\xd1\x01\x02^PackageVersionS0.9\x08\x0b\x1a"
                                   "\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x1e"s;

INSTANTIATE_TEST_SUITE_P(
    Files, Receipt,
    ::testing::Values(
        ReceiptRow{"Empty", "", false}, ReceiptRow{"Broken", "<plist><dict><key>Pack", false},
        ReceiptRow{"WithoutTheKey", kXmlHead + "<key>Other</key><string>1</string></dict></plist>", false},
        ReceiptRow{"Date", kXmlHead + "<key>PackageVersion</key><date>2026-01-02T03:04:05Z</date></dict></plist>",
                   true},
        ReceiptRow{"Array", kXmlHead + "<key>PackageVersion</key><array/></dict></plist>", true},
        ReceiptRow{"Dictionary", kXmlHead + "<key>PackageVersion</key><dict/></dict></plist>", true},
        ReceiptRow{"Data", kXmlHead + "<key>PackageVersion</key><data>AAAA</data></dict></plist>", true},
        ReceiptRow{"Xml", kXmlHead + "<key>PackageVersion</key><string>0.9</string></dict></plist>", true},
        ReceiptRow{"Binary", kBinaryReceipt, true}),
    [](const auto &row) { return row.param.shows; });

TEST_F(BadInput, AMissingSystemVersionReadsAsZero) {
    putInstaller();
    root.remove("/System/Library/CoreServices/SystemVersion.plist");
    EXPECT_EQ(run().status, 0);
    EXPECT_TRUE(hasLogged("MacOS Version: 0.0"));
}

TEST_F(BadInput, AFileInPlaceOfTheWorkingFolderEndsTheRunAsFailed) {
    putInstaller();
    root.write("/var/tmp/kyb", "a file");
    expectFailure();
    EXPECT_EQ(root.read("/var/tmp/kyb"), "a file");
}

TEST_F(BadInput, AProgressFileThatIsDeletedInTheMiddleDoesNotHoldUpTheEnd) {
    putInstaller();
    root.putProgram("/usr/sbin/installer",
                    "#!/bin/sh\n"
                    "file=${0%/usr/sbin/installer}/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log\n"
                    "echo 'installer:PHASE:Writing files'\n"
                    "while [ ! -s \"$file\" ]; do sleep 0.01; done\n"
                    "rm \"$file\"\n"
                    "echo 'installer: The install was successful.'\n");
    EXPECT_EQ(run().status, 0);
}

TEST_F(BadInput, AnInstallerThatIsKilledEndsTheRunAsFailed) {
    putInstaller();
    root.putProgram("/usr/sbin/installer", "#!/bin/sh\necho 'installer:PHASE:Writing files'\nkill -9 $$\n");
    expectFailure();
}

TEST_F(BadInput, AnInstallerThatIsMissingEndsTheRunAsFailed) {
    putInstaller();
    root.remove("/usr/sbin/installer");
    expectFailure();
}

TEST_F(BadInput, FiftyMegabytesOfOutputAreFollowedToTheirEnd) {
    putInstaller();
    root.putProgram("/usr/sbin/installer", "#!/bin/sh\nyes 'installer:%12.000000' | head -c 50000000\necho\n"
                                           "echo 'installer: The install was successful.'\n");
    EXPECT_EQ(run().status, 0);
}

TEST_F(BadInput, InvalidTextInTheNextToLastLineEndsTheRunAsFailed) {
    putInstaller();
    root.putProgram("/usr/sbin/installer",
                    "#!/bin/sh\nroot=${0%/usr/sbin/installer}\nprintf 'installer:PHASE:\\377\\nx\\n'\n"
                    "i=0; while [ $i -lt 300 ]; do sleep 0.02; i=$((i + 1)); done\n");
    expectFailure();
}

TEST_F(BadInput, OutputWithoutAFinalLineEndIsReadWhole) {
    putInstaller();
    root.putProgram("/usr/sbin/installer", "#!/bin/sh\nprintf 'installer: The install failed. (x)'\nexit 1\n");
    expectFailure();
}

TEST_F(BadInput, AHelperThatIsKilledInTheMiddleEndsTheRunAsFailed) {
    putInstaller();
    root.putProgram("/usr/sbin/installer", "#!/bin/sh\ntouch \"${0%/usr/sbin/installer}/waiting\"\nexec sleep 20\n");
    const auto process = start();
    waitUntil([this] { return root.exists("/waiting"); });
    root.killHelpers();
    const Ran outcome = finish(*process);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(hasLogged("XPC connection interupted."));
}

TEST_F(BadInput, AFifoInEveryPlaceHoldsNobodyUp) {
    putInstaller();
    std::filesystem::remove(installerFolder() + "/OSX/macver.list");
    ASSERT_EQ(mkfifo((installerFolder() + "/OSX/macver.list").c_str(), 0666), 0);
    std::filesystem::create_directories(root.at("/var/tmp/kyb"));
    for (const char *place :
         {"/var/tmp/kyb/BrelundQuorlix.log", "/var/tmp/kyb/kyb_install.log",
          "/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log", "/var/db/receipts/com.Brelund.QuorlixInstaller.plist"}) {
        root.write(place, "");
        root.remove(place);
        ASSERT_EQ(mkfifo(root.at(place).c_str(), 0666), 0) << place;
    }
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(root.installedVersion(), "1.0");
}

TEST_F(BadInput, ALogThatMayNotGrowDoesNotHoldUpTheInstallation) {
    putInstaller();
    constexpr std::size_t kBlocks = 18'000; // of 512 bytes; the helper is smaller
    root.write("/var/tmp/kyb/BrelundQuorlix.log", std::string(kBlocks * 512, '\n'));
    startedBy = {"/bin/sh", "-c", "ulimit -S -f " + std::to_string(kBlocks) + "; exec \"$@\"", "sh"};
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(root.installedVersion(), "1.0");
}

TEST_F(BadInput, AProgramWithoutStandardDescriptorsDoesItsWork) {
    putInstaller();
    startedBy = {"/bin/sh", "-c", "exec \"$@\" <&- >&- 2>&-", "sh"};
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(root.installedVersion(), "1.0");
}

/// NB: as docs/security.md says of who can put a link there.
TEST_F(BadInput, ALinkInTheWorkingFoldersPlaceIsOpenedToEverybodyAndFailsTheInstallation) {
    putInstaller();
    root.write("/var/tmp/another/file", "another's");
    chmod(root.at("/var/tmp/another/file").c_str(), 0600);
    std::filesystem::create_directory_symlink(root.at("/var/tmp/another"), root.at("/var/tmp/kyb"));
    expectFailure();
    struct stat info {};
    ASSERT_EQ(stat(root.at("/var/tmp/another/file").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0777U);
    EXPECT_EQ(root.read("/var/tmp/another/file"), "another's");
    EXPECT_TRUE(root.exists("/var/tmp/another/BrelundQuorlix.log"));
}

/// NB: as docs/security.md says of who can make such a name; but nothing is written to the file.
TEST_F(BadInput, AFurtherNameOfAnotherFileInTheWorkingFolderOpensItToEverybodyAndIsNotWrittenTo) {
    putInstaller();
    root.write("/var/tmp/another", "another's");
    chmod(root.at("/var/tmp/another").c_str(), 0600);
    for (const char *name : {"/var/tmp/kyb/BrelundQuorlix.log", "/var/tmp/kyb/kyb_install.log",
                             "/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log", "/var/tmp/kyb/x"}) {
        std::filesystem::create_directories(root.at("/var/tmp/kyb"));
        std::filesystem::create_hard_link(root.at("/var/tmp/another"), root.at(name));
    }
    EXPECT_EQ(run().status, 0);
    struct stat info {};
    ASSERT_EQ(stat(root.at("/var/tmp/another").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0777U);
    EXPECT_EQ(root.read("/var/tmp/another"), "another's");
}

TEST_F(BadInput, AFullFolderInTheProgressFilesPlaceFailsTheInstallationUntilItIsTakenAway) {
    putInstaller();
    std::filesystem::create_directories(root.progressFile() + "/full");
    expectFailure();
    std::filesystem::remove_all(root.progressFile());
    EXPECT_EQ(run().status, 0);
}

TEST_F(BadInput, NothingOfTheCallersEnvironmentReachesTheCommandsOfRoot) {
    putInstaller();
    root.putProgram("/usr/sbin/installer",
                    "#!/bin/sh\nroot=${0%/usr/sbin/installer}\n/usr/bin/env >\"$root/environment\"\n"
                    "echo 'installer: The install was successful.'\n");
    for (const char *name : {"BASH_ENV", "ENV", "IFS", "HOME", "USER", "SHELL", "CDPATH", "PERL5LIB",
                             "DYLD_INSERT_LIBRARIES", "LD_LIBRARY_PATH"}) {
        environment[name] = "/nowhere";
    }
    environment["PATH"] += ":/nowhere";
    EXPECT_EQ(run().status, 0);
    EXPECT_THAT(root.read("/environment"), HasSubstr("PATH="));
    EXPECT_THAT(root.read("/environment"), testing::Not(HasSubstr("nowhere")));
}

TEST_F(BadInput, NoShellReadsTheUsersName) {
    putInstaller();
    const std::string made = root.at("/made");
    EXPECT_EQ(run({"-s", "$(touch " + made + ")`touch " + made + "`;touch " + made + ";'\"\n%s%n", "PUBLIC"}).status,
              0);
    EXPECT_FALSE(root.exists("/made"));
    EXPECT_EQ(root.installedVersion(), "1.0");
}

TEST_F(BadInput, AQuitSignalEndsAProgramThatDoesNotAnswer) {
    if (kHasThreadSanitizer) {
        GTEST_SKIP() << "it keeps a signal back as long as its thread is in system() or read(), where all are here";
    }
    putInstaller();
    root.putProgram("/bin/chmod", "#!/bin/sh\nexec >/dev/null 2>&1\nroot=${0%/bin/chmod}\ntouch \"$root/asked\"\n"
                                  "while [ -e \"$root/asked\" ]; do sleep 0.05; done\n");
    environment["PATH"] = root.at("/bin:") + environment["PATH"];
    const auto process = start();
    waitUntil([this] { return root.exists("/asked"); });
    process->sendSignal(SIGTERM);
    waitUntil([&process] { return kyb::test::stateOf(process->id()) == 'Z'; });
    root.remove("/asked");
    EXPECT_EQ(process->wait(), -SIGTERM);
}

TEST_F(BadInput, TheFirstCallersLimitsDoNotBindTheHelper) {
    putInstaller({"--version", "1.0", "--size", "12000000"});
    startedBy = {"/bin/sh", "-c", "ulimit -S -f 20000; ulimit -S -n 64; exec \"$@\"", "sh"}; // blocks of 512 bytes
    if (mayRaiseHardLimits()) {
        startedBy[2] = "ulimit -f 20000; ulimit -n 64; exec \"$@\"";
    }
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(root.installedVersion(), "1.0");
}

TEST_F(BadInput, WhoeverHasStoppedReadingDoesNotHoldUpTheInstallation) {
    putInstaller();
    // Both outputs lead to a pipe that is full before the program begins, and stays so.
    startedBy = {"/bin/sh", "-c", "yes | head -c 65536; exec \"$@\" 2>&1", "sh"};
    const auto process = start();
    waitUntil([&process] { return kyb::test::stateOf(process->id()) == 'Z'; });
    EXPECT_EQ(process->wait(), 0);
    EXPECT_EQ(root.installedVersion(), "1.0");
}

TEST_F(BadInput, ScreensThatCanBeShownAreAndTheProgramEndsWhenAsked) {
    putInstaller();
    std::filesystem::create_directory_symlink(KYB_BUNDLE "/Contents/PlugIns",
                                              installerFolder() + "/Brelund Quorlix Installer.app/Contents/PlugIns");
    environment["QT_QPA_PLATFORM"] = "offscreen";
    const auto process = start({});
    waitUntil([this] { return hasLogged("MacOS Version: 13.1"); });
    expectToEndWhenAsked(*process);
}

/// A start with screens that cannot be shown.
class WithoutScreens : public BadInput {
protected:
    void putModule() const {
        std::filesystem::create_directory_symlink(KYB_BUNDLE "/Contents/PlugIns", contents() + "/PlugIns");
    }
    std::string contents() const { return installerFolder() + "/Brelund Quorlix Installer.app/Contents"; }

    /// \return what is said.
    std::string refusal(const Words &arguments) const {
        const Ran outcome = run(arguments);
        EXPECT_EQ(outcome.status, 3);
        EXPECT_THAT(outcome.errors, testing::EndsWith("type: BrelundQuorlixInstaller -s USER [PUBLIC]\n"));
        EXPECT_TRUE(outcome.lines.empty());
        EXPECT_FALSE(root.exists("/var/tmp/kyb/BrelundQuorlix.log"));
        return outcome.errors;
    }
};

TEST_F(WithoutScreens, WhereThereIsNoDisplayOneLineSaysWhatToType) {
    putInstaller();
    putModule();
    for (const Words &arguments :
         {Words{}, Words{"-s"}, Words{"--help"}, Words{"--version"}, Words{"x", "-s", "bob"}}) {
        EXPECT_EQ(std::ranges::count(refusal(arguments), '\n'), 1);
    }
    environment["DISPLAY"] = ":4711";
    EXPECT_EQ(std::ranges::count(refusal({}), '\n'), 1);
}

TEST_F(WithoutScreens, ABundleWithoutItsModuleSaysSo) {
    putInstaller();
    EXPECT_THAT(refusal({}), HasSubstr("The installer's screens cannot be loaded: "));
}

TEST_F(WithoutScreens, ABrokenInterfaceDescriptionIsNamed) {
    putInstaller();
    putModule();
    const std::string resources = contents() + "/Resources";
    std::filesystem::remove(resources);
    std::filesystem::copy(KYB_BUNDLE "/Contents/Resources", resources, std::filesystem::copy_options::recursive);
    kyb::test::writeText(resources + "/LicenseView.ui", "<ui>");
    environment["QT_QPA_PLATFORM"] = "offscreen";
    EXPECT_THAT(refusal({}), HasSubstr("The interface description \"LicenseView.ui\" is broken: "));
}

} // namespace
