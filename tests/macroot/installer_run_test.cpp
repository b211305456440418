#include "mac_root.h"
#include "plist_commands.h"
#include "stage.h"
#include "test_package.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/stat.h>

namespace kyb::macroot {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

constexpr const char *kDriver = "Library/Printers/BrelundQuorlix";
constexpr const char *kMoving = "installer:PHASE:Moving items into place";
constexpr const char *kReceipt = "var/db/receipts/com.Brelund.QuorlixInstaller.plist";

std::vector<std::string> linesThatBegin(const Ran &ran, std::string_view beginning) {
    std::vector<std::string> found;
    std::ranges::copy_if(ran.lines, std::back_inserter(found),
                         [beginning](const std::string &line) { return line.starts_with(beginning); });
    return found;
}

std::string fieldOf(const fs::path &plist, const std::string &key) {
    return PlistEditor(plistFromText(contentOf(plist))).run("Print :" + key).text;
}

void stop(const Program &program) {
    program.sendSignal(SIGSTOP);
    while (test::stateOf(program.id()) != 'T' && test::stateOf(program.id()) != 'Z') {
        poll(nullptr, 0, 1);
    }
}

/// Stops a program that fills a folder once it has said so, when the file "first" is there.
/// \return whether that was before the file "last" is.
bool stopMeanwhile(Program &program, const std::string &line, const fs::path &folder) {
    program.readUntil(line);
    stop(program);
    while (!fs::exists(folder / "first") && test::stateOf(program.id()) != 'Z') {
        program.sendSignal(SIGCONT);
        poll(nullptr, 0, 1);
        stop(program);
    }
    return !fs::exists(folder / "last");
}

/// How an installation ends when somebody changes the file "first" in \p folder while others follow it there, which
/// begins with \p line.
Ran installationMeanwhile(const std::string &line, const std::string &folder,
                          const std::function<void(const fs::path &first)> &change) {
    TestPackage package;
    package.payload = [](PayloadWriter &payload) {
        payload.addFile("./Library/first", "YES");
        for (int i = 0; i < 1000; ++i) {
            payload.addFile("./Library/following/" + std::to_string(i), "");
        }
        payload.addFile("./Library/last", "");
    };
    for (;;) { // until it was met in between
        const MacRoot root;
        Program installer(root.installCommand(package.write(root.beside("a.pkg"))));
        const bool isMet = stopMeanwhile(installer, line, root / folder);
        if (isMet) {
            change(root / folder / "first");
        }
        installer.sendSignal(SIGCONT);
        if (Ran ran = finish(installer); isMet) {
            return ran;
        }
    }
}

} // namespace

TEST(InstallerRun, ReadsAPackageThatHasAnyName) {
    const MacRoot root;
    const Ran ran = root.install(root.samplePackage({"--version", "4.2.0", "--name", "Gr\u00f6\u00dfe \u5927 100%"}));
    EXPECT_EQ(ran.status, 0) << ran.lastLine() << root.log();
    EXPECT_THAT(ran.lines, testing::Contains(HasSubstr("Gr\u00f6\u00dfe \u5927 100%")));
}

TEST(InstallerRun, PutsTheDriverInPlaceWithItsModes) {
    const MacRoot root;
    const Ran ran = root.install(root.samplePackage({"--version", "4.2.0"}));
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.errors, "");
    EXPECT_EQ(ran.lastLine(), "installer: The install was successful.");
    EXPECT_EQ(modeOf(root / kDriver), 0755U);
    EXPECT_EQ(modeOf(root / (std::string(kDriver) + "/Uninstall.sh")), 0755U);
    EXPECT_EQ(modeOf(root / (std::string(kDriver) + "/Filters/quorlix-filter")), 0755U);
    EXPECT_EQ(modeOf(root / (std::string(kDriver) + "/Quorlix.ppd")), 0644U);
    EXPECT_EQ(contentOf(root / (std::string(kDriver) + "/Resources/version.txt")), "4.2.0\n");
    EXPECT_EQ(fieldOf(root / "Library/Preferences/BrelundQuorlixAdmin.plist", "IsPrivateInstall"), "YES");
    EXPECT_FALSE(root.hasStage());
}

TEST(InstallerRun, PrintsThePhasesAsTheyHappen) {
    const MacRoot root;
    const Ran ran = root.install(root.samplePackage({"--version", "4.2.0"}));
    ASSERT_GE(ran.lines.size(), 2U);
    EXPECT_EQ(ran.lines[0], "installer: Package name is Brelund Quorlix Driver");
    EXPECT_EQ(ran.lines[1], "installer: Installing at base path /");
    EXPECT_THAT(linesThatBegin(ran, "installer:PHASE:"),
                ElementsAre("installer:PHASE:Preparing for installation…", "installer:PHASE:Preparing the disk…",
                            "installer:PHASE:Preparing Brelund Quorlix Driver…",
                            "installer:PHASE:Waiting for other installations to complete…",
                            "installer:PHASE:Configuring the installation…", "installer:PHASE:Running package scripts…",
                            "installer:PHASE:Writing files…", "installer:PHASE:Moving items into place…",
                            "installer:PHASE:Validating packages…", "installer:PHASE:Running package scripts…",
                            "installer:PHASE:Writing package receipts…", "installer:PHASE:Finishing the Installation…",
                            "installer:PHASE:Cleaning up…", "installer:PHASE:Optimising system for installed software…",
                            "installer:PHASE:The software was successfully installed."));
    EXPECT_THAT(linesThatBegin(ran, "installer:STATUS:"), testing::Each("installer:STATUS:"));
    EXPECT_EQ(linesThatBegin(ran, "installer:STATUS:").size(), 4U);
}

TEST(InstallerRun, PercentRisesWithTheBytesToAHundred) {
    const MacRoot root;
    const Ran ran = root.install(root.samplePackage({"--version", "4.2.0", "--size", "8000000"}));
    const std::vector<std::string> lines = linesThatBegin(ran, "installer:%");
    EXPECT_THAT(lines, testing::Each(MatchesRegex("installer:%[0-9]+\\.[0-9]{6}")));
    EXPECT_GT(lines.size(), 50U);
    std::vector<double> shares;
    std::ranges::transform(lines, std::back_inserter(shares),
                           [](const std::string &line) { return std::stod(line.substr(11)); });
    EXPECT_TRUE(std::ranges::is_sorted(shares, std::ranges::less_equal()) &&
                std::ranges::adjacent_find(shares) == shares.end());
    EXPECT_EQ(lines.back(), "installer:%100.000000");
    EXPECT_EQ(fs::file_size(root / (std::string(kDriver) + "/Resources/halftones.bin")), 8000000U);
}

TEST(InstallerRun, IsTerseWhenNotVerbose) {
    const MacRoot root;
    std::vector<std::string> command = root.installCommand(root.samplePackage({"--version", "1"}));
    command.pop_back();
    EXPECT_THAT(runProgram(command).lines,
                ElementsAre("installer: Package name is Brelund Quorlix Driver", "installer: Installing at base path /",
                            "installer: The install was successful."));
}

TEST(InstallerRun, LeavesAReceipt) {
    const MacRoot root;
    const auto before = std::time(nullptr);
    ASSERT_EQ(root.install(root.samplePackage({"--version", "4.2.0"})).status, 0);
    EXPECT_THAT(contentOf(root / kReceipt), testing::StartsWith("<?xml"));
    EXPECT_EQ(fieldOf(root / kReceipt, "PackageIdentifier"), "com.Brelund.QuorlixInstaller");
    EXPECT_EQ(fieldOf(root / kReceipt, "PackageVersion"), "4.2.0");
    EXPECT_EQ(fieldOf(root / kReceipt, "InstallPrefixPath"), "/");
    EXPECT_EQ(fieldOf(root / kReceipt, "InstallProcessName"), "installer");
    EXPECT_EQ(fieldOf(root / kReceipt, "PackageFileName"), "Brelund Quorlix Driver.pkg");
    EXPECT_EQ(modeOf(root / kReceipt), 0644U);
    const Plist plist = plistFromText(contentOf(root / kReceipt));
    const plist_t date = plist_dict_get_item(plist.get(), "InstallDate");
    ASSERT_EQ(plist_get_node_type(date), PLIST_DATE);
    EXPECT_GE(unixSecondsOf(date), before);
    EXPECT_LE(unixSecondsOf(date), std::time(nullptr));
}

TEST(InstallerRun, CallsASecondInstallationAnUpgrade) {
    const MacRoot root;
    ASSERT_EQ(root.install(root.samplePackage({"--version", "4.1"})).status, 0);
    const Ran ran = root.install(root.samplePackage({"--version", "4.2"}));
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.lastLine(), "installer: The upgrade was successful.");
    EXPECT_EQ(fieldOf(root / kReceipt, "PackageVersion"), "4.2");
    EXPECT_EQ(contentOf(root / (std::string(kDriver) + "/Resources/version.txt")), "4.2\n");
}

/// The lines of a log without their dates.
std::vector<std::string> messagesOf(const MacRoot &root) {
    std::vector<std::string> messages;
    std::istringstream log(root.log());
    for (std::string line; std::getline(log, line);) {
        EXPECT_THAT(line,
                    MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8}[-+][0-9]{4} [^ ]+ installer\\[[0-9]+\\]: .+"));
        messages.push_back(line.substr(line.find("]: ") + 3));
    }
    return messages;
}

TEST(InstallerRun, LogsWhatItDoes) {
    const MacRoot root;
    const std::string path = root.samplePackage({"--version", "4.2.0"});
    ASSERT_EQ(root.install(path).status, 0);
    EXPECT_THAT(messagesOf(root), ElementsAre("Installing Brelund Quorlix Driver from " + path,
                                              "Running the preinstall script of com.Brelund.QuorlixInstaller",
                                              "preinstall: ready for the driver's files", "Moved 13 items into place",
                                              "Running the postinstall script of com.Brelund.QuorlixInstaller",
                                              "postinstall: driver 4.2.0 is complete",
                                              "Wrote the receipt of com.Brelund.QuorlixInstaller 4.2.0",
                                              "The software was successfully installed"));
}

TEST(InstallerRun, LogsWhyItFails) {
    const MacRoot root;
    const std::string path = root.samplePackage({"--version", "4.2.0", "--fail", "postinstall"});
    ASSERT_EQ(root.install(path).status, 1);
    EXPECT_THAT(messagesOf(root), ElementsAre("Installing Brelund Quorlix Driver from " + path,
                                              "Running the preinstall script of com.Brelund.QuorlixInstaller",
                                              "preinstall: ready for the driver's files", "Moved 13 items into place",
                                              "Running the postinstall script of com.Brelund.QuorlixInstaller",
                                              "postinstall: postinstall: this package was made to fail here",
                                              "The installation failed: The postinstall script failed with status 1."));
}

TEST(InstallerRun, OwnsAllThatItInstalls) {
    const MacRoot root;
    ASSERT_EQ(root.install(root.samplePackage({"--version", "4.2.0"})).status, 0);
    for (const auto &entry : fs::recursive_directory_iterator(root / kDriver)) {
        struct stat found = {};
        ASSERT_EQ(lstat(entry.path().c_str(), &found), 0);
        EXPECT_EQ(found.st_uid, geteuid()) << entry.path();
    }
}

TEST(InstallerRun, CallsScriptsAsTheSystemDoes) {
    const MacRoot root;
    TestPackage package;
    package.installLocation = "/Library/Printers";
    package.preinstall = "#!/bin/sh\n"
                         "{ echo \"$0\"; echo \"$1\"; echo \"$2\"; echo \"$3\"; echo \"$4\"; pwd; env | sort; } "
                         ">\"$3/seen\"\n"
                         "test -d \"$INSTALLER_TEMP\" && test -e ./postinstall && echo said\n";
    const std::string file = package.write(root.beside("a b.pkg"));
    const Ran ran = root.install(file);
    ASSERT_EQ(ran.status, 0) << ran.lastLine();
    const std::string volume = (root / "").string();
    const std::string stage = volume + "var/db/.installer-stage";
    std::istringstream seen(contentOf(root / "seen"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(seen, line);) {
        lines.push_back(line);
    }
    ASSERT_GE(lines.size(), 6U);
    EXPECT_EQ(lines[0], stage + "/scripts0/preinstall");
    EXPECT_EQ(lines[1], file);
    EXPECT_EQ(lines[2], volume + "Library/Printers");
    EXPECT_EQ(lines[3], volume);
    EXPECT_EQ(lines[4], volume);
    EXPECT_EQ(lines[5], stage + "/scripts0");
    for (const std::string &variable :
         {"DSTROOT=" + volume + "Library/Printers", "DSTVOLUME=" + volume, "INSTALLER_TEMP=" + stage + "/tmp",
          "PACKAGE_PATH=" + file, std::string("SCRIPT_NAME=preinstall"),
          std::string("PATH=/usr/bin:/bin:/usr/sbin:/sbin"), std::string("INSTALL_PKG_SESSION_ID=com.example.test")}) {
        EXPECT_THAT(lines, testing::Contains(variable));
    }
    EXPECT_THAT(root.log(), HasSubstr("preinstall: said"));
    EXPECT_THAT(ran.lines, Not(testing::Contains(HasSubstr("said"))));
}

TEST(InstallerRun, InstallsBelowTheInstallLocation) {
    const MacRoot root;
    TestPackage package;
    package.installLocation = "/Library/Printers";
    package.payload = [](PayloadWriter &payload) { payload.addFile("./Some/driver", "text", 04751); };
    EXPECT_EQ(root.install(package.write(root.beside("a.pkg"))).status, 0);
    EXPECT_EQ(contentOf(root / "Library/Printers/Some/driver"), "text");
    EXPECT_EQ(modeOf(root / "Library/Printers/Some/driver"), 04751U);
    EXPECT_EQ(fieldOf(root / "var/db/receipts/com.example.test.plist", "InstallPrefixPath"), "Library/Printers");
}

TEST(InstallerRun, KeepsLinksAsLinks) {
    const MacRoot root;
    TestPackage package;
    package.payload = [](PayloadWriter &payload) {
        payload.addLinkedFiles("./Library/one", "./Library/two", "both");
        payload.addSymbolicLink("./Library/current", "one");
    };
    ASSERT_EQ(root.install(package.write(root.beside("a.pkg"))).status, 0);
    EXPECT_EQ(contentOf(root / "Library/two"), "both");
    EXPECT_TRUE(fs::equivalent(root / "Library/one", root / "Library/two"));
    EXPECT_EQ(fs::read_symlink(root / "Library/current"), "one");
}

TEST(InstallerRun, ReplacesALinkAndNotWhatItLeadsTo) {
    const MacRoot root;
    writeText(root.beside("outside"), "kept");
    fs::create_symlink(root.beside("outside"), root / "Library/Preferences/BrelundQuorlixAdmin.plist");
    EXPECT_EQ(root.install(root.samplePackage({"--version", "1"})).status, 0);
    EXPECT_FALSE(fs::is_symlink(root / "Library/Preferences/BrelundQuorlixAdmin.plist"));
    EXPECT_EQ(contentOf(root.beside("outside")), "kept");
}

TEST(InstallerRun, RegistersApplications) {
    const MacRoot root;
    TestPackage package;
    package.payload = [](PayloadWriter &payload) { payload.addFile("./Applications/Quorlix.app/Contents/x", "x"); };
    EXPECT_EQ(linesThatBegin(root.install(package.write(root.beside("a.pkg"))), "installer:PHASE:Registering").size(),
              1U);
}

TEST(InstallerRun, DoesNotWaitForWhatAScriptLeavesRunning) {
    const MacRoot root;
    ASSERT_EQ(mkfifo((root / "gate").c_str(), 0600), 0);
    TestPackage package;
    package.postinstall = "#!/bin/sh\n(read -r line <\"$3/gate\"; echo \"$line\" >\"$3/done\") &\n";
    EXPECT_EQ(root.install(package.write(root.beside("a.pkg"))).status, 0);
    EXPECT_FALSE(fs::exists(root / "done"));
    std::ofstream(root / "gate") << "go\n"; // lets the one left behind end
}

TEST(InstallerRun, IsNotHeldUpByEndlessOutputOfWhatAScriptLeavesRunning) {
    const MacRoot root;
    TestPackage package;
    package.postinstall = "#!/bin/sh\nyes \"$3\" &\necho $! >\"$3/pid\"\nsleep 0.3\n";
    EXPECT_EQ(root.install(package.write(root.beside("a.pkg"))).status, 0);
    waitForEndOf(std::stoi(contentOf(root / "pid"))); // nobody reads what it prints any more
    EXPECT_LT(fs::file_size(root / "var/log/install.log"), 5'000'000U);
}

TEST(InstallerRun, SaysNothingOfItsOwnInTheWordsOfAScript) {
    const MacRoot root;
    TestPackage package;
    package.postinstall = "#!/bin/sh\nfor to in 1 2; do\n"
                          "    printf 'installer: The install was successful.\\nInstallation_Done\\n' >&$to\n"
                          "done\nexit 1\n";
    const Ran ran = root.install(package.write(root.beside("a.pkg")));
    EXPECT_EQ(ran.status, 1);
    for (const std::string &line : ran.lines) {
        EXPECT_THAT(line, Not(testing::ContainsRegex("successful|Installation_Done"))) << line;
    }
    EXPECT_EQ(ran.errors, "");
    EXPECT_THAT(root.log(), HasSubstr("Installation_Done"));
}

TEST(InstallerRun, LogsSoMuchOfAScriptAndNoMore) {
    const MacRoot root;
    TestPackage package;
    package.preinstall = "#!/bin/sh\nyes first | head -n 9999\n";
    package.postinstall = "#!/bin/sh\nyes again | head -n 100000\n";
    ASSERT_EQ(root.install(package.write(root.beside("a.pkg"))).status, 0);
    const std::string log = root.log();
    const auto count = [&log](const std::string &text) {
        int found = 0;
        for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) {
            ++found;
        }
        return found;
    };
    EXPECT_EQ(count("preinstall: first\n"), 9999);
    EXPECT_EQ(count("postinstall: again\n"), 10'000);
    EXPECT_EQ(count("postinstall: (The rest of what it prints is left out.)\n"), 1);
}

TEST(InstallerRun, LogsSoManyBytesOfAScriptAndNoMore) {
    const MacRoot root;
    TestPackage package;
    package.preinstall = "#!/bin/sh\nyes \"$(printf '%02000d' 0)\" | head -n 9000\necho last\n";
    ASSERT_EQ(root.install(package.write(root.beside("a.pkg"))).status, 0);
    EXPECT_THAT(root.log(), HasSubstr("preinstall: (The rest of what it prints is left out.)\n"));
    EXPECT_THAT(root.log(), Not(HasSubstr("preinstall: last\n")));
    EXPECT_GT(root.log().size(), 1'000'000U);
    EXPECT_LT(root.log().size(), 1'200'000U);
}

TEST(InstallerRun, CutsALongLineOfAScriptBetweenCharacters) {
    const MacRoot root;
    TestPackage package;
    package.preinstall = "#!/bin/sh\nprintf '%04095dä%04096d𝄞end\\n' 0 0\n";
    ASSERT_EQ(root.install(package.write(root.beside("a.pkg"))).status, 0);
    const std::string log = root.log();
    EXPECT_THAT(log, HasSubstr("0ä\n"));
    EXPECT_THAT(log, HasSubstr("preinstall: 𝄞end\n"));
    EXPECT_THAT(log, Not(HasSubstr("\uFFFD")));
}

TEST(InstallerRun, LogsWhatIsNoUtf8AsSomethingThatIs) {
    const MacRoot root;
    TestPackage package;
    package.preinstall = "#!/bin/sh\nprintf 'caf\\351 \\200\\n'\nhead -c 9000 /dev/zero | tr '\\0' '\\200'\n";
    ASSERT_EQ(root.install(package.write(root.beside("a.pkg"))).status, 0);
    EXPECT_THAT(root.log(), HasSubstr("preinstall: caf\uFFFD \uFFFD\n"));
    EXPECT_THAT(root.log(), Not(HasSubstr("\x80\x80")));
}

TEST(InstallerRun, IsASuccessOnceItIsCommittedAlthoughSomethingIsLeftBehind) {
    const MacRoot root;
    TestPackage package;
    // A process that goes on writing into the scripts' temporary folder keeps it from being removed.
    package.postinstall = "#!/bin/sh\nmkdir \"$TMPDIR/a\"\ncd \"$TMPDIR/a\"\n" + std::string(kManyFiles) +
                          "(i=0; while [ ! -e \"$3/stop\" ]; do : >$i; i=$((i+1)); done) >/dev/null 2>&1 &\n"
                          "echo $! >>\"$3/pids\"\n";
    const std::string file = package.write(root.beside("a.pkg"));
    for (const char *const kind : {"install", "upgrade", "upgrade"}) {
        const Ran ran = root.install(file);
        EXPECT_EQ(ran.status, 0) << ran.lastLine();
        EXPECT_EQ(ran.lastLine(), "installer: The " + std::string(kind) + " was successful.");
    }
    writeText(root / "stop", "");
    std::istringstream pids(contentOf(root / "pids"));
    for (pid_t pid = 0; pids >> pid;) {
        waitForEndOf(pid);
    }
}

TEST(InstallerRun, LeavesToOthersWhatTheyChangeOnceItIsInPlace) {
    const Ran ran = installationMeanwhile(kMoving, "Library", [](const fs::path &first) {
        writeText(first, "NO");
        fs::permissions(first, fs::perms(0600));
    });
    EXPECT_EQ(ran.lastLine(), "installer: The install was successful.");
}

TEST(InstallerRun, MissesWhatIsGoneWhenAllIsInPlace) {
    const Ran ran = installationMeanwhile(kMoving, "Library", [](const fs::path &first) { fs::remove(first); });
    EXPECT_EQ(ran.lastLine(), "installer: The install failed. (/Library/first is not as the package holds it.)");
}

TEST(InstallerRun, PutsNothingInPlaceThatIsNotAsThePackageHoldsIt) {
    const std::string stage = std::string(Stage::kFolder) + "/files/Library";
    const Ran ran = installationMeanwhile("installer:PHASE:Writing files", stage, [](const fs::path &first) {
        fs::remove(first); // it may still be open there
        writeText(first, "NO");
    });
    EXPECT_EQ(ran.lastLine(), "installer: The install failed. (/Library/first is not as the package holds it.)");
    EXPECT_THAT(ran.lines, Not(testing::Contains("installer:PHASE:Validating packages…")));
}

TEST(InstallerRun, WaitsForAnotherInstallation) {
    const MacRoot root;
    ASSERT_EQ(mkfifo((root / "gate").c_str(), 0600), 0);
    TestPackage first;
    first.identifier = "com.example.first";
    first.preinstall = "#!/bin/sh\nread -r line <\"$3/gate\"\n";
    TestPackage second;
    second.identifier = "com.example.second";
    Program one(root.installCommand(first.write(root.beside("first.pkg"))));
    ASSERT_TRUE(one.readUntil("installer:PHASE:Running package scripts"));
    Program two(root.installCommand(second.write(root.beside("second.pkg"))));
    ASSERT_TRUE(two.readUntil("installer:PHASE:Waiting for other installations"));
    std::ofstream(root / "gate") << "go\n";
    EXPECT_EQ(one.wait(), 0);
    EXPECT_EQ(two.wait(), 0);
    const std::string log = root.log();
    EXPECT_LT(log.find("Wrote the receipt of com.example.first"),
              log.find("Running the preinstall script of com.example.second"));
}

} // namespace kyb::macroot
