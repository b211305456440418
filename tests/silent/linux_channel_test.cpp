// What only Linux can show: its channel between program and helper, a helper that a client starts, the folder that
// plays "/".

#include "SilentRun.h"

#include <csignal>
#include <unistd.h>

namespace {

using testing::HasSubstr;

class LinuxChannel : public SilentRun {};

TEST_F(LinuxChannel, AHelperThatCannotBeExecutedEndsTheRunAsFailedUnlessItIsRegisteredAgain) {
    putInstaller();
    root.putProgram("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool", "no program");
    const Ran outcome = run();
    EXPECT_TRUE(hasLogged("XPC connection interupted.")) << outcome.errors;
    // The probe's failure comes in time for the helper to be registered again, and then all is well; or too late.
    const bool isRegisteredAgain = hasLogged("Authorization successful");
    EXPECT_EQ(outcome.status, isRegisteredAgain ? 0 : 1) << outcome.errors;
    EXPECT_EQ(root.exists(kDriver), isRegisteredAgain);
}

struct NonsenseRow {
    const char *kind;
    const char *logged;
};

class NonsenseHelper : public LinuxChannel, public ::testing::WithParamInterface<NonsenseRow> {};

TEST_P(NonsenseHelper, EndsTheRunAsFailedWithItsText) {
    putInstaller();
    root.registerHelper(KYB_NONSENSE_HELPER);
    root.write("/Library/PrivilegedHelperTools/nonsense", GetParam().kind);
    const Ran outcome = run();
    EXPECT_EQ(outcome.status, 1) << outcome.errors;
    EXPECT_TRUE(hasLogged(GetParam().logged)) << outcome.errors;
}

INSTANTIATE_TEST_SUITE_P(Kinds, NonsenseHelper,
                         ::testing::Values(NonsenseRow{"close", "XPC connection interupted."},
                                           NonsenseRow{"half", "XPC connection interupted."},
                                           NonsenseRow{"garbage", "Unexpected XPC connection error."},
                                           NonsenseRow{"array", "Unexpected XPC connection error."},
                                           NonsenseRow{"oversize", "Unexpected XPC connection error."}),
                         [](const auto &row) { return row.param.kind; });

TEST_F(LinuxChannel, ARefusedHelperIsLoggedAndNothingIsInstalled) {
    putInstaller();
    environment["KYB_SYSTEM_ROOT"] = "/usr"; // it is root's, whoever runs this
    if (geteuid() == 0) {
        startedBy = {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    }
    const auto process = start();
    waitUntil([&process] {
        return process->errors().find("Failed to install the Helper Tool. Error: (null)") != std::string::npos;
    });
    EXPECT_THAT(process->errors(), HasSubstr("Failed to create AuthorizationRef. Error code: -60005"));
    expectToGoOn(*process);
}

struct RootRow {
    const char *shows;
    const char *root;
};

class BadRoot : public LinuxChannel, public ::testing::WithParamInterface<RootRow> {};

TEST_P(BadRoot, EndsAtOnceWithAClearLineAndStatusTwo) {
    putInstaller();
    environment["KYB_SYSTEM_ROOT"] = GetParam().root;
    const Ran outcome = run();
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(std::ranges::count(outcome.errors, '\n'), 1) << outcome.errors;
    EXPECT_THAT(outcome.errors, HasSubstr("KYB_SYSTEM_ROOT"));
    EXPECT_TRUE(outcome.lines.empty());
}

INSTANTIATE_TEST_SUITE_P(Values, BadRoot,
                         ::testing::Values(RootRow{"Relative", "usr"}, RootRow{"Missing", "/no/such/folder"},
                                           RootRow{"AFile", "/etc/passwd"}, RootRow{"NeedsQuoting", "/tmp/a b"},
                                           RootRow{"Empty", ""}),
                         [](const auto &row) { return row.param.shows; });

/// For longer than the sleep after a look that finds no progress file.
TEST_F(LinuxChannel, ARunThatComesAfterTheSocketIsTakenAwayWaitsForItsOwn) {
    putInstaller();
    root.putProgram("/usr/sbin/installer",
                    "#!/bin/sh\nroot=${0%/usr/sbin/installer}\ntouch \"$root/waiting\"\n"
                    "i=0; while [ $i -lt 60 ]; do echo installer:%$i; sleep 0.05; i=$((i + 1)); done\n");
    const auto first = start();
    waitUntil([this] { return root.exists("/waiting"); });
    for (const auto &entry : std::filesystem::directory_iterator(root.at("/var/run"))) {
        std::filesystem::remove(entry);
    }
    root.remove("/usr/sbin/installer");
    root.putProgram("/usr/sbin/installer", "#!/bin/sh\ntouch \"${0%/usr/sbin/installer}/second\"\nexit 1\n");
    const auto second = start();
    EXPECT_EQ(finish(*first).status, 0);
    EXPECT_EQ(finish(*second).status, 1);
    EXPECT_TRUE(root.exists("/second"));
}

/// What an installer says that the helper starts: its limits and its nice value.
constexpr char kTellingInstaller[] = "#!/bin/sh\nroot=${0%/usr/sbin/installer}\n"
                                     "(ulimit -S -n; ulimit -S -s; ulimit -S -f; ulimit -S -t; ulimit -S -v; "
                                     "ulimit -S -d) >\"$root/limits\"\nnice >\"$root/nice\"\n"
                                     "echo 'installer: The install was successful.'\n";

TEST_F(LinuxChannel, TheHelperLiftsTheLimitsThatMayBeLifted) {
    putInstaller();
    root.putProgram("/usr/sbin/installer", kTellingInstaller);
    const std::string kind = mayRaiseHardLimits() ? "" : "-S ";
    // NB: of data and addresses a thousand terabytes and more, or no program with the thread sanitizer would start.
    startedBy = {"/bin/sh", "-c", "", "sh"};
    for (const char *limit : {"-n 64", "-s 2048", "-f 4000000", "-t 4000", "-d 1000000000000", "-v 100000000000000"}) {
        startedBy[2] += "ulimit " + kind + limit + "; ";
    }
    startedBy[2] += "exec \"$@\"";
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(root.read("/limits"), "1024\n8192\nunlimited\nunlimited\nunlimited\nunlimited\n");
}

TEST_F(LinuxChannel, TheHelperOfRootIsNotNice) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become less nice";
    }
    putInstaller();
    root.putProgram("/usr/sbin/installer", kTellingInstaller);
    startedBy = {"/usr/bin/nice", "-n", "7"};
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(root.read("/nice"), "0\n");
}

} // namespace
