#include "mac_root.h"
#include "plist_document.h"

#include <gmock/gmock.h>

namespace kyb::macroot {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char *kHelper = "Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool";
constexpr const char *kJob = "Library/LaunchDaemons/com.kyb.InstallerHelperTool.plist";
constexpr const char *kFolder = "Library/Application Support/Brelund Quorlix Installer";
constexpr const char *kFleetReceipt = "var/db/receipts/com.kyb.BrelundQuorlixInstaller.Fleet.plist";
constexpr const char *kBootout = "bootout system/com.kyb.InstallerHelperTool";

void put(const fs::path &path, std::string_view content, unsigned mode = 0644) {
    fs::create_directories(path.parent_path());
    writeText(path, content);
    fs::permissions(path, fs::perms(mode));
}

/// A bundle, a driver and a root in which launchctl and sleep only note down how they are called.
class FleetPackage : public testing::Test {
protected:
    FleetPackage() {
        putBundle("helper 1");
        for (const char *const name : {"Brelund Quorlix Driver.pkg", "macver.list"}) {
            put(driver_ / name, std::string("the ") + name);
        }
        putLaunchctl("exit 0\n");
        put(root / "bin/sleep", "#!/bin/sh\necho sleep $* >>\"${0%/bin/sleep}/calls\"\n", 0755);
    }

    void putBundle(std::string_view helper) const {
        put(bundle_ / "Contents/Info.plist", "<plist/>");
        put(bundle_ / "Contents/MacOS/BrelundQuorlixInstaller", "program", 0700);
        put(bundle_ / "Contents/Library/LaunchServices/com.kyb.InstallerHelperTool", helper, 0755);
        const fs::path framework = bundle_ / "Contents/Frameworks/Kit.framework";
        put(framework / "Versions/A/Kit", "kit", 0755);
        fs::remove(framework / "Versions/Current");
        fs::create_directory_symlink("A", framework / "Versions/Current");
        fs::remove(framework / "Kit");
        fs::create_symlink("Versions/Current/Kit", framework / "Kit");
    }

    /// \param afterwards what it does once it has noted its call down.
    void putLaunchctl(const std::string &afterwards) const {
        put(root / "bin/launchctl", "#!/bin/sh\nroot=${0%/bin/launchctl}\necho \"$*\" >>\"$root/calls\"\n" + afterwards,
            0755);
    }

    std::string package(const std::vector<std::string> &options = {}) const {
        const std::string file = root.beside("Our Fleet.pkg");
        std::vector<std::string> words{"--version", "1.0", "--job", KYB_HELPER_JOB};
        words.insert(words.end(), options.begin(), options.end());
        test::makeFleetPackage(file, bundle_, driver_, words);
        return file;
    }

    std::string bootstrap() const { return "bootstrap system " + (root / kJob).string(); }
    std::string calls() const { return contentOf(root / "calls"); }

    const MacRoot root;

private:
    const fs::path bundle_ = root.beside("Brelund Quorlix Installer.app");
    const fs::path driver_ = root.beside("the driver");
};

std::string textOf(plist_t list, const char *key) {
    const char *const text = plist_get_string_ptr(plist_dict_get_item(list, key), nullptr);
    return text != nullptr ? text : "";
}

} // namespace

TEST_F(FleetPackage, PutsEverythingInItsPlace) {
    const Ran ran = root.install(package());
    ASSERT_EQ(ran.status, 0) << ran.lastLine() << root.log();
    EXPECT_EQ(contentOf(root / kHelper), "helper 1");
    EXPECT_EQ(modeOf(root / kHelper), 0544U);
    EXPECT_EQ(modeOf(root / kJob), 0644U);
    const fs::path folder = root / kFolder;
    EXPECT_EQ(modeOf(folder), 0755U);
    EXPECT_EQ(contentOf(folder / "OSX/Brelund Quorlix Driver.pkg"), "the Brelund Quorlix Driver.pkg");
    EXPECT_EQ(contentOf(folder / "OSX/macver.list"), "the macver.list");
    const fs::path contents = folder / "Brelund Quorlix Installer.app/Contents";
    EXPECT_EQ(contentOf(contents / "MacOS/BrelundQuorlixInstaller"), "program");
    EXPECT_EQ(modeOf(contents / "MacOS/BrelundQuorlixInstaller"), 0755U);
    EXPECT_EQ(modeOf(contents / "Info.plist"), 0644U);
}

TEST_F(FleetPackage, KeepsTheLinksOfTheBundle) {
    ASSERT_EQ(root.install(package()).status, 0);
    const fs::path framework = root / kFolder / "Brelund Quorlix Installer.app/Contents/Frameworks/Kit.framework";
    EXPECT_EQ(fs::read_symlink(framework / "Versions/Current"), "A");
    EXPECT_EQ(fs::read_symlink(framework / "Kit"), "Versions/Current/Kit");
    EXPECT_EQ(contentOf(framework / "Kit"), "kit");
}

TEST_F(FleetPackage, TheJobIsTheHelpersWithTheProgramsPlace) {
    ASSERT_EQ(root.install(package()).status, 0);
    const Plist job = plistFromText(contentOf(root / kJob));
    const std::string program = std::string("/") + kHelper;
    EXPECT_EQ(textOf(job.get(), "Program"), program);
    plist_t arguments = plist_dict_get_item(job.get(), "ProgramArguments");
    ASSERT_EQ(plist_array_get_size(arguments), 1U);
    EXPECT_EQ(plist_string_val_compare(plist_array_get_item(arguments, 0), program.c_str()), 0);
    plist_dict_remove_item(job.get(), "Program");
    plist_dict_remove_item(job.get(), "ProgramArguments");
    const Plist embedded = plistFromText(contentOf(KYB_HELPER_JOB));
    ASSERT_TRUE(embedded);
    EXPECT_EQ(plistToText(job.get(), PlistFormat::Xml), plistToText(embedded.get(), PlistFormat::Xml));
}

TEST_F(FleetPackage, StartsTheJobWhenAllIsInItsPlace) {
    putLaunchctl("[ \"$1\" = bootstrap ] || exit 3\ntest -f \"$3\" && test -x \"$root/" + std::string(kHelper) +
                 "\"\n");
    ASSERT_EQ(root.install(package()).status, 0) << root.log();
    EXPECT_EQ(calls(), std::string(kBootout) + "\n" + bootstrap() + "\n");
}

TEST_F(FleetPackage, WaitsForAnEarlierJobToEnd) {
    putLaunchctl("[ \"$1\" = bootout ] || [ -e \"$root/tried\" ] || { touch \"$root/tried\"; exit 5; }\n");
    ASSERT_EQ(root.install(package()).status, 0) << root.log();
    EXPECT_EQ(calls(), std::string(kBootout) + "\n" + bootstrap() + "\nsleep 1\n" + bootstrap() + "\n");
}

TEST_F(FleetPackage, AJobThatCannotBeStartedFailsTheInstallation) {
    putLaunchctl("exit 5\n");
    const std::string file = package();
    ASSERT_EQ(root.install(file).status, 1);
    EXPECT_THAT(root.log(), HasSubstr("postinstall: the helper's job cannot be started"));
    EXPECT_FALSE(fs::exists(root / kHelper) || fs::exists(root / kJob) || fs::exists(root / kFolder));
    const std::string all = calls();
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 60) << "an end, 30 starts and 29 pauses";
}

TEST_F(FleetPackage, StartsNoJobOfAnotherVolume) {
    const std::string volume = (root / "Volumes/Other").string();
    const std::string system = (root / "").string();
    EXPECT_EQ(runProgram({builtProgram("fleet/postinstall"), "a.pkg", volume, volume, system}).status, 0);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(runProgram({builtProgram("fleet/postinstall"), "a.pkg", system, system, system}).status, 0);
    EXPECT_EQ(calls(), std::string(kBootout) + "\n" + bootstrap() + "\n");
}

TEST_F(FleetPackage, ANewerOneReplacesAnOlderOne) {
    ASSERT_EQ(root.install(package()).status, 0);
    putBundle("helper 2");
    ASSERT_EQ(root.install(package({"--version", "2.0"})).status, 0) << root.log();
    EXPECT_EQ(contentOf(root / kHelper), "helper 2");
    EXPECT_EQ(modeOf(root / kHelper), 0544U);
    EXPECT_EQ(textOf(plistFromText(contentOf(root / kFleetReceipt)).get(), "PackageVersion"), "2.0");
    EXPECT_EQ(calls(), std::string(kBootout) + "\n" + bootstrap() + "\n" + kBootout + "\n" + bootstrap() + "\n");
}

TEST_F(FleetPackage, TakesTheAdministratorsFolder) {
    ASSERT_EQ(root.install(package({"--folder", "/Library//Our Tools/./AZaz09_1.0-x/"})).status, 0) << root.log();
    EXPECT_EQ(contentOf(root / "Library/Our Tools/AZaz09_1.0-x/OSX/macver.list"), "the macver.list");
    EXPECT_TRUE(fs::exists(root / "Library/Our Tools/AZaz09_1.0-x/Brelund Quorlix Installer.app/Contents/Info.plist"));
    EXPECT_FALSE(fs::exists(root / kFolder));
}

} // namespace kyb::macroot
