// One fault in each run, at every moment: the run ends, what it tells is true, it touches nothing of others and leaves
// nothing running, and the next run works. With KYB_ALL_FAULTS in the environment (tools/faults) at ten times as many
// moments.

#include "SilentRun.h"

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sched.h>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using namespace std::string_literals;
using testing::AnyOf;

bool areAllWanted() {
    return std::getenv("KYB_ALL_FAULTS") != nullptr;
}

/// \p count numbers, \p step apart; a tenth of them unless all faults are wanted.
std::vector<int> moments(int count, int step) {
    const int stride = areAllWanted() ? 1 : 10;
    std::vector<int> all;
    for (int i = 0; i < count; i += stride) {
        all.push_back(i * step);
    }
    return all;
}

/// Path, below the folder, and content of each file in it.
std::map<std::string, std::string> filesIn(const std::string &folder) {
    std::map<std::string, std::string> files;
    std::error_code gone;
    for (const auto &entry : fs::recursive_directory_iterator(folder, gone)) {
        if (entry.is_regular_file(gone) && !entry.is_symlink(gone)) {
            files[entry.path().lexically_relative(folder)] = kyb::test::contentOf(entry.path());
        }
    }
    return files;
}

/// What somebody else has on the computer, in the folders that the product uses.
const std::string kOthers[] = {"/Library/Printers/Another/driver", "/var/db/receipts/com.another.plist",
                               "/var/tmp/another/file", "/Library/Preferences/com.another.plist"};

class Fault : public SilentRun {
protected:
    Fault() {
        putInstaller({"--version", "1.0", "--files", "200"});
        for (const std::string &file : kOthers) {
            root.write(file, file);
        }
    }

    /// Waits for the end of a run that a fault has met, makes the computer whole again with \p undo, and looks at all
    /// that must hold. A run that stays, as it does where the helper cannot be put into its place, is asked to end.
    template <typename Matcher>
    void expectBorne(
        Program &process, const Matcher &statuses, const std::function<void()> &undo = [] {}) {
        const int status = endOf(process);
        EXPECT_THAT(status, statuses) << process.errors();
        undo();
        expectBorneBy(status);
    }

    /// As above, of a run that was lied to about its end.
    void expectLieBorne(Program &process) {
        EXPECT_THAT(endOf(process), AnyOf(0, 1));
        expectNothingRuns();
        expectBorneBy(1);
    }

    static int endOf(Program &process) {
        const auto stays = [&] {
            return process.errors().find("Failed to install the Helper Tool") != std::string::npos;
        };
        waitUntil([&] { return stays() || kyb::test::stateOf(process.id()) == 'Z'; });
        if (stays()) {
            expectToEndWhenAsked(process);
            return -SIGTERM;
        }
        return finish(process).status;
    }

    void expectBorneBy(int status) {
        const auto installed = filesIn(root.at(kDriver));
        const std::string version = root.installedVersion();
        expectNothingRuns();
        const Ran next = run();
        EXPECT_EQ(next.status, 0) << "the next run\n" << next.errors << logs();
        EXPECT_EQ(root.installedVersion(), "1.0") << "after the next run";
        const auto whole = filesIn(root.at(kDriver));
        EXPECT_GT(whole.size(), 200U);
        if (status == 0) {
            EXPECT_EQ(version, "1.0");
            EXPECT_EQ(installed, whole);
        }
        for (const auto &[name, content] : installed) {
            const auto file = whole.find(name);
            EXPECT_TRUE(file != whole.end() && file->second == content) << name << " was not whole";
        }
        for (const std::string &file : kOthers) {
            EXPECT_EQ(root.read(file), file);
        }
        EXPECT_FALSE(root.exists("/var/tmp/another/BrelundQuorlix_ProgressMessage.log"));
        expectNothingRuns();
    }

    std::string logs() const { return root.read("/var/tmp/kyb/BrelundQuorlix.log") + helperLog(); }

    void expectNothingRuns() const {
        waitUntil([this] { return root.processes().empty(); });
    }

    /// Starts a run whose installer waits before its work, or between that and its end, and goes on with `letGoOn`.
    /// \param prologue what the installer's shell does first.
    std::unique_ptr<Program> startAndWait(bool afterItsWork, const std::string &prologue = {}) {
        fs::rename(root.at(kInstaller), root.at(kInstaller + ".real"));
        const std::string wait = "touch \"$root/waiting\"; while [ ! -e \"$root/go\" ]; do sleep 0.02; done\n";
        // NB: the stand-in knows its root by its own place, so it is put back there.
        root.putProgram(kInstaller, "#!/bin/sh\nroot=${0%/usr/sbin/installer}\n" + prologue +
                                        "mv \"$0.real\" \"$0\"\n"
                                        "echo 'installer:PHASE:Preparing for installation'\n"
                                        "echo 'installer:%1.000000'\n" +
                                        (afterItsWork ? "\"$0\" \"$@\"; status=$?\n" + wait + "exit $status\n"
                                                      : wait + "exec \"$0\" \"$@\"\n"));
        auto process = start();
        // NB: what the helper writes later would take the place of what a test puts there.
        waitUntil([this] {
            return root.exists("/waiting") &&
                   kyb::test::contentOf(root.progressFile()).find("installer:%1.0") != std::string::npos;
        });
        return process;
    }
    void letGoOn() const { root.write("/go", ""); }

    inline static const std::string kInstaller = "/usr/sbin/installer";
    inline static const std::string kWorkingFolder = "/var/tmp/kyb";
};

// ---- Each process killed, at every moment of a run, and a run started again at once

struct Victim {
    const char *name;
    const char *commandLine; ///< a fixed path in it; null: the program itself
    int step;                ///< milliseconds from moment to moment
};
void PrintTo(const Victim &victim, std::ostream *stream) {
    *stream << victim.name;
}

class Killed : public Fault, public testing::WithParamInterface<std::tuple<Victim, int>> {
protected:
    std::vector<pid_t> victims(const Victim &victim, const Program &program) const {
        if (victim.name == "Helper"s) {
            return root.helpers();
        }
        return victim.commandLine == nullptr ? std::vector{program.id()}
                                             : root.processes(root.seen(victim.commandLine));
    }
};

/// From the moment on at which it is there.
TEST_P(Killed, AtAMomentLeavesTheTruthAndAComputerThatWorks) {
    const auto [victim, moment] = GetParam();
    const auto process = start();
    waitUntil([&, &victim = victim] {
        return !victims(victim, *process).empty() || kyb::test::stateOf(process->id()) == 'Z';
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(moment * victim.step));
    const std::vector<pid_t> found = victims(victim, *process);
    EXPECT_TRUE(moment > 0 || !found.empty());
    for (const pid_t each : found) {
        kill(each, SIGKILL);
    }
    expectBorne(*process, AnyOf(0, victim.commandLine == nullptr && victim.name == "Program"s ? -SIGKILL : 1));
}

INSTANTIATE_TEST_SUITE_P(Moments, Killed,
                         testing::Combine(testing::Values(Victim{"Program", nullptr, 40}, Victim{"Helper", nullptr, 20},
                                                          Victim{"Installer", "/usr/sbin/installer", 5},
                                                          Victim{"Capture", "/var/log/install.log", 20}),
                                          testing::ValuesIn(moments(50, 1))),
                         [](const auto &row) {
                             const Victim &victim = std::get<0>(row.param);
                             return victim.name + std::to_string(std::get<1>(row.param) * victim.step) + "ms";
                         });

// ---- The disk full

/// A small disk, in a mount namespace of this process's own, below which the temporary files lie.
class SmallDisk {
public:
    SmallDisk() {
        const uid_t user = getuid();
        const bool isRoot = geteuid() == 0;
        isThere_ = unshare(CLONE_NEWNS | (isRoot ? 0 : CLONE_NEWUSER)) == 0;
        if (isThere_ && !isRoot) {
            kyb::test::writeText("/proc/self/uid_map", "0 " + std::to_string(user) + " 1\n");
        }
        isThere_ = isThere_ && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   mount("small", folder_.path().c_str(), "tmpfs", 0, "size=256m,mode=1777") == 0;
        setenv("TMPDIR", folder_.path().c_str(), 1);
    }
    ~SmallDisk() { umount2(folder_.path().c_str(), MNT_DETACH); }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

    bool isThere() const { return isThere_; }

    /// Leaves room for so many bytes, about.
    void fill(off_t bytesLeft) const {
        struct statvfs disk {};
        statvfs(folder_.path().c_str(), &disk);
        const kyb::UniqueFd file(open(filler().c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
        ASSERT_EQ(posix_fallocate(file.get(), 0, static_cast<off_t>(disk.f_bavail * disk.f_bsize) - bytesLeft), 0);
    }
    void clear() const { fs::remove(filler()); }

private:
    std::string filler() const { return folder_ / "filler"; }

    const kyb::test::TempFolder folder_;
    bool isThere_ = false;
};

class DiskFull : public SmallDisk, public Fault, public testing::WithParamInterface<int> {};

TEST_P(DiskFull, AtAnySizeLeavesTheTruthAndAComputerThatWorks) {
    if (!isThere()) {
        GTEST_SKIP() << "no mount namespace of its own is to be had here";
    }
    fill(off_t{GetParam()} * 1024);
    const auto process = start();
    expectBorne(*process, AnyOf(0, 1, -SIGTERM), [this] { clear(); });
}

INSTANTIATE_TEST_SUITE_P(Kibibytes, DiskFull,
                         testing::Values(0, 4, 8, 16, 32, 64, 128, 256, 384, 512, 640, 768, 896, 1024, 1280, 1536, 2048,
                                         2560, 3072, 4096),
                         testing::PrintToStringParamName());

// ---- What others do to the files, in the middle of a run

void nothing(const kyb::test::RootFolder & /*root*/) {}

struct Deed {
    const char *name;
    void (*what)(const kyb::test::RootFolder &root);
    std::vector<int> statuses;                                   ///< that may come of it
    void (*undone)(const kyb::test::RootFolder &root) = nothing; ///< so that the next run may work
    bool isLie = false; ///< about the end: docs/security.md says whose is believed
};

void moveWorkingFolder(const kyb::test::RootFolder &root) {
    fs::rename(root.at("/var/tmp/kyb"), root.at("/var/tmp/moved"));
}

void shortenProgress(const kyb::test::RootFolder &root) {
    fs::resize_file(root.progressFile(), 0);
}

constexpr char kProgress[] = "/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log";
constexpr char kLog[] = "/var/tmp/kyb/BrelundQuorlix.log";
constexpr char kCapture[] = "/var/tmp/kyb/kyb_install.log";

void replace(const kyb::test::RootFolder &root, const char *file, std::string_view content) {
    kyb::test::writeText(root.at("/var/tmp/kyb/new"), content);
    fs::rename(root.at("/var/tmp/kyb/new"), root.at(file));
}

void replaceByLink(const kyb::test::RootFolder &root, const char *file) {
    fs::remove(root.at(file));
    fs::create_symlink(root.at("/var/tmp/another/file"), root.at(file));
}

const std::vector<int> kMustSucceed{0};
const std::vector<int> kMayFail{0, 1};
const std::vector<int> kMayFailOrStay{0, 1, -SIGTERM};

const Deed kDeeds[] = {
    {"RemovesTheWorkingFolder", [](const auto &root) { fs::remove_all(root.at("/var/tmp/kyb")); }, kMayFail},
    {"TakesTheWorkingFoldersRightsAway",
     [](const auto &root) { fs::permissions(root.at("/var/tmp/kyb"), fs::perms(0555)); }, kMayFail},
    {"PutsALinkInTheWorkingFoldersPlace",
     [](const auto &root) {
         moveWorkingFolder(root);
         fs::create_directory_symlink(root.at("/var/tmp/another"), root.at("/var/tmp/kyb"));
     },
     kMayFail, [](const auto &root) { root.remove("/var/tmp/kyb"); }},
    {"PutsAnotherFolderInTheWorkingFoldersPlace",
     [](const auto &root) {
         moveWorkingFolder(root);
         fs::create_directory(root.at("/var/tmp/kyb"));
     },
     kMayFail},
    {"PutsAFileInTheWorkingFoldersPlace",
     [](const auto &root) {
         moveWorkingFolder(root);
         root.write("/var/tmp/kyb", "a file");
     },
     kMayFail, [](const auto &root) { root.remove("/var/tmp/kyb"); }},
    {"PutsALinkInTheParentsPlace",
     [](const auto &root) {
         fs::rename(root.at("/var/tmp"), root.at("/var/moved"));
         fs::create_directory_symlink(root.at("/var/moved"), root.at("/var/tmp"));
     },
     kMustSucceed},
    {"PutsAnotherFolderInTheParentsPlace",
     [](const auto &root) {
         fs::rename(root.at("/var/tmp"), root.at("/var/moved"));
         fs::create_directory(root.at("/var/tmp"));
         fs::copy(root.at("/var/moved/another"), root.at("/var/tmp/another"), fs::copy_options::recursive);
     },
     kMayFail},
    {"ShortensTheProgressFile", shortenProgress, kMustSucceed},
    {"RemovesTheProgressFile", [](const auto &root) { fs::remove(root.progressFile()); }, kMustSucceed},
    {"SaysAPhaseInTheProgressFile",
     [](const auto &root) { replace(root, kProgress, "installer:PHASE:Validating\nx\n"); }, kMustSucceed},
    {"SaysAFailureInTheProgressFile",
     [](const auto &root) { replace(root, kProgress, "installer: The install failed (x)\nx\n"); }, kMayFail, nothing,
     true},
    {"SaysTheEndInTheProgressFile", [](const auto &root) { replace(root, kProgress, "x\nInstallation_Done\n"); },
     kMayFail, nothing, true},
    {"PutsALinkInTheProgressFilesPlace", [](const auto &root) { replaceByLink(root, kProgress); }, kMustSucceed},
    {"RemovesTheProgramsLog", [](const auto &root) { fs::remove(root.at(kLog)); }, kMustSucceed},
    {"ReplacesTheProgramsLog", [](const auto &root) { replace(root, kLog, "of others\n"); }, kMustSucceed},
    {"PutsALinkInTheProgramsLogsPlace", [](const auto &root) { replaceByLink(root, kLog); }, kMustSucceed},
    {"RemovesTheCapture", [](const auto &root) { fs::remove(root.at(kCapture)); }, kMustSucceed},
    {"ReplacesTheCapture", [](const auto &root) { replace(root, kCapture, "of others\n"); }, kMustSucceed},
    {"PutsALinkInTheCapturesPlace", [](const auto &root) { replaceByLink(root, kCapture); }, kMustSucceed},
    {"RemovesTheSystemInstallersLog", [](const auto &root) { root.remove("/var/log/install.log"); }, kMustSucceed},
    {"RotatesTheSystemInstallersLog",
     [](const auto &root) {
         fs::rename(root.at("/var/log/install.log"), root.at("/var/log/install.log.0"));
         root.write("/var/log/install.log", "");
     },
     kMustSucceed},
    {"PutsAFifoInTheSystemInstallersLogsPlace",
     [](const auto &root) {
         root.remove("/var/log/install.log");
         mkfifo(root.at("/var/log/install.log").c_str(), 0666);
     },
     kMayFail, [](const auto &root) { root.remove("/var/log/install.log"); }},
    {"ReplacesTheHelper",
     [](const auto &root) {
         kyb::test::copyProgram(root.helperFile(), root.helperFile() + ".new");
         fs::rename(root.helperFile() + ".new", root.helperFile());
     },
     kMustSucceed},
    {"RemovesTheHelper", [](const auto &root) { fs::remove(root.helperFile()); }, kMustSucceed},
};

void PrintTo(const Deed &deed, std::ostream *stream) {
    *stream << deed.name;
}

enum class When { BeforeTheWork, AfterTheWork, AgainAndAgain };

const char *nameOf(When when) {
    constexpr const char *kNames[] = {"BeforeTheWork", "AfterTheWork", "AgainAndAgain"};
    return kNames[static_cast<int>(when)];
}

void PrintTo(When when, std::ostream *stream) {
    *stream << nameOf(when);
}

class Meddling : public Fault, public testing::WithParamInterface<std::tuple<When, Deed>> {
protected:
    /// Does it from now on until the process has ended.
    static void doAgainAndAgain(const std::function<void()> &deed, const Program &process) {
        while (kyb::test::stateOf(process.id()) != 'Z') {
            try {
                deed();
            } catch (const fs::filesystem_error &) { // what it needs is not there at this moment
            }
            std::this_thread::sleep_for(5ms);
        }
    }
};

TEST_P(Meddling, LeavesTheTruthAndAComputerThatWorks) {
    const auto &[when, deed] = GetParam();
    const auto process = startAndWait(when == When::AfterTheWork);
    const auto deedOnRoot = [&deed = deed, this] { deed.what(root); };
    deedOnRoot();
    letGoOn();
    if (when == When::AgainAndAgain) {
        doAgainAndAgain(deedOnRoot, *process);
    }
    if (deed.isLie) {
        expectLieBorne(*process);
        return;
    }
    // The helper gives up for whom others keep taking the file away.
    const std::vector<int> &statuses = when == When::AgainAndAgain ? kMayFail : deed.statuses;
    expectBorne(*process, testing::AnyOfArray(statuses), [&deed = deed, this] { deed.undone(root); });
}

std::vector<When> moments() {
    return areAllWanted() ? std::vector{When::BeforeTheWork, When::AfterTheWork, When::AgainAndAgain}
                          : std::vector{When::BeforeTheWork};
}

INSTANTIATE_TEST_SUITE_P(Deeds, Meddling, testing::Combine(testing::ValuesIn(moments()), testing::ValuesIn(kDeeds)),
                         [](const auto &row) {
                             return std::get<1>(row.param).name + std::string(nameOf(std::get<0>(row.param)));
                         });

TEST_F(Fault, WhoMayReplaceTheProgressFileIsBelieved) {
    for (const auto &[lines, status] :
         {std::pair("x\nInstallation_Done\n", 0), {"installer: The install failed (x)\nx\n", 1}}) {
        const auto process = startAndWait(false);
        replace(root, kProgress, lines);
        EXPECT_EQ(finish(*process).status, status) << "while the installer still waits";
        letGoOn();
        expectNothingRuns();
        expectBorneBy(1);
        root.remove("/waiting");
        root.remove("/go");
    }
}

// ---- The clock is set

struct Clock {
    const char *name;
    const char *offset; ///< as libfaketime has it
};

void PrintTo(const Clock &clock, std::ostream *stream) {
    *stream << clock.name;
}

/// From the earliest line of the system installer's log to the latest.
double spreadSeconds(const std::string &log) {
    std::vector<std::time_t> times;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        std::tm time{};
        if (strptime(line.c_str(), "%Y-%m-%d %H:%M:%S", &time) != nullptr) {
            times.push_back(timegm(&time));
        }
    }
    const auto [earliest, latest] = std::minmax_element(times.begin(), times.end());
    return times.empty() ? 0 : std::difftime(*latest, *earliest);
}

class ClockSet : public Fault, public testing::WithParamInterface<Clock> {};

/// Of the program and the installer; the helper's only use of the clock is the time in its log.
TEST_P(ClockSet, InTheMiddleChangesNothing) {
    if (kHasThreadSanitizer || kHasAddressSanitizer) {
        GTEST_SKIP() << "no library may be loaded before the sanitizer's";
    }
    const std::string file = root.beside("clock");
    kyb::test::writeText(file, "+0\n");
    const std::map<std::string, std::string> before = environment;
    const std::map<std::string, std::string> faked{{"FAKETIME_TIMESTAMP_FILE", file},
                                                   {"FAKETIME_NO_CACHE", "1"},
                                                   {"FAKETIME_DONT_FAKE_MONOTONIC", "1"},
                                                   {"NO_FAKE_STAT", "1"}};
    std::string prologue = "export LD_PRELOAD=\"" KYB_FAKETIME " $LD_PRELOAD\"\n";
    environment["LD_PRELOAD"] = KYB_FAKETIME " " + environment["LD_PRELOAD"];
    for (const auto &[name, value] : faked) {
        environment[name] = value;
        prologue += "export " + name + "='" + value + "'\n";
    }
    const auto process = startAndWait(false, prologue);
    kyb::test::writeText(file, GetParam().offset);
    letGoOn();
    environment = before;
    expectBorne(*process, testing::Eq(0));
    EXPECT_GT(spreadSeconds(root.read("/var/log/install.log")), 3000) << "the clock was not set";
}

INSTANTIATE_TEST_SUITE_P(Kinds, ClockSet, testing::Values(Clock{"BackAnHour", "-1h\n"}, Clock{"ForwardADay", "+1d\n"}),
                         [](const auto &row) { return row.param.name; });

// ---- What a run is started with

struct Start {
    const char *name;
    const char *command; ///< of a shell that becomes the program, "$@"
    std::vector<int> statuses;
};
const Start kStarts[] = {
    {"WithTwentyDescriptors", "ulimit -S -n 20; exec \"$@\"", kMustSucceed},
    {"WithSixtyFourDescriptors", "ulimit -S -n 64; exec \"$@\"", kMustSucceed},
    {"WithTwoHundredAndFiftySixDescriptors", "ulimit -S -n 256; exec \"$@\"", kMustSucceed},
    {"WithoutALocale", "unset LANG LC_ALL LC_CTYPE; exec \"$@\"", kMustSucceed},
    {"WithALocaleThatIsNotThere", "LC_ALL=xx_YY.UTF-8 exec \"$@\"", kMustSucceed},
    {"WithoutAnEnvironmentOfAUser", "unset HOME USER LOGNAME SHELL; exec \"$@\"", kMustSucceed},
    {"WithoutStandardOutput", "exec \"$@\" >&-", kMustSucceed},
    {"WithAFullStandardOutput", "exec \"$@\" >/dev/full", kMustSucceed},
    {"WithAFullStandardErrorAsWell", "exec \"$@\" >/dev/full 2>&1", kMustSucceed},
    {"WithASlowReader",
     "exit \"$( { { \"$@\" 3>&-; echo $? >&3; } | while read -r line; do sleep 0.2; done; } 3>&1 )\"", kMustSucceed},
    {"WithSignalsIgnored", "trap '' HUP INT TERM PIPE CHLD; exec \"$@\"", kMustSucceed},
    {"WithAStrictMask", "umask 077; exec \"$@\"", kMustSucceed},
    {"InAFolderThatIsNoMore", "mkdir -p gone && cd gone && rmdir ../gone; exec \"$@\"", kMustSucceed},
    {"WithALimitOfFileSizes", "ulimit -S -f 8; exec \"$@\"", kMayFailOrStay},
    {"WithoutCoreFilesAndLittleStack", "ulimit -S -c 0; ulimit -S -s 1024; exec \"$@\"", kMustSucceed},
    {"WithALowPriority", "exec nice -n 19 \"$@\"", kMustSucceed},
};

void PrintTo(const Start &start, std::ostream *stream) {
    *stream << start.name;
}

class Started : public Fault, public testing::WithParamInterface<std::tuple<bool, Start>> {};

TEST_P(Started, LeavesTheTruthAndAComputerThatWorks) {
    const auto &[isFirst, kind] = GetParam();
    if (!isFirst) {
        ASSERT_EQ(run().status, 0);
        root.killHelpers(); // the next one is started by what is started here
    }
    fs::current_path(root.beside("").parent_path());
    startedBy = {"/bin/sh", "-c", kind.command, "sh"};
    const auto process = start();
    startedBy.clear();
    expectBorne(*process, testing::AnyOfArray(kind.statuses));
}

INSTANTIATE_TEST_SUITE_P(Kinds, Started, testing::Combine(testing::Bool(), testing::ValuesIn(kStarts)),
                         [](const auto &row) {
                             return std::get<1>(row.param).name +
                                    std::string(std::get<0>(row.param) ? "OnAFreshComputer" : "WithAHelperInPlace");
                         });

// ---- Two at once, and one after another

class TwoUpgrades : public Fault, public testing::WithParamInterface<int> {};

/// Both may fail: each removes the earlier version by itself, also while the other's package is being installed.
TEST_P(TwoUpgrades, AtAnyOffsetBothEndAndTheNextIsWell) {
    ASSERT_EQ(run().status, 0);
    const auto first = start();
    std::this_thread::sleep_for(std::chrono::milliseconds(GetParam()));
    const auto second = start();
    EXPECT_THAT(finish(*first).status, AnyOf(0, 1));
    EXPECT_THAT(finish(*second).status, AnyOf(0, 1));
    expectNothingRuns();
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(root.installedVersion(), "1.0");
}

INSTANTIATE_TEST_SUITE_P(OffsetMilliseconds, TwoUpgrades, testing::ValuesIn(moments(50, 60)),
                         testing::PrintToStringParamName());

struct Failure {
    const char *name;
    std::string_view installersEnd;
};
void PrintTo(const Failure &failure, std::ostream *stream) {
    *stream << failure.name;
}

class RunAfter : public Fault, public testing::WithParamInterface<std::tuple<Failure, int>> {};

TEST_P(RunAfter, AFailureIsWellWheneverItComes) {
    const auto [failure, milliseconds] = GetParam();
    fs::rename(root.at(kInstaller), root.at(kInstaller + ".real"));
    root.putProgram(kInstaller,
                    "#!/bin/sh\necho 'installer:PHASE:Preparing'\n" + std::string(failure.installersEnd) + '\n');
    EXPECT_EQ(run().status, 1);
    fs::rename(root.at(kInstaller + ".real"), root.at(kInstaller));
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    expectBorneBy(1);
}

INSTANTIATE_TEST_SUITE_P(
    Failures, RunAfter,
    testing::Combine(testing::Values(Failure{"Status", "exit 3"},
                                     Failure{"Text", "echo 'installer: The install failed. (x)'; exit 1"},
                                     Failure{"Signal", "kill -KILL $$"},
                                     Failure{"NoText", "printf '\\377'; sleep 0.3; exit 1"}),
                     testing::ValuesIn(moments(31, 50))),
    [](const auto &row) { return std::get<0>(row.param).name + std::to_string(std::get<1>(row.param)) + "ms"; });

} // namespace
