#include "support/RootFolder.h"
#include "support/log_messages.h"

#include "posix/UniqueFd.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace kyb::helper {
namespace {

const std::vector<std::string> kMisplaced{"The helper tool does not lie at its registered place."};
const std::vector<std::string> kNotOnDemand{"The helper tool is started on demand only, with a listening socket."};

struct Ended {
    int status = -1;
    std::string errors;
};

Ended run(const std::string &commandLine) {
    Ended ended;
    std::FILE *output = popen((commandLine + " 2>&1").c_str(), "r");
    for (int character = std::fgetc(output); character != EOF; character = std::fgetc(output)) {
        ended.errors.push_back(static_cast<char>(character));
    }
    const int status = pclose(output);
    ended.status = WEXITSTATUS(status);
    return ended;
}

TEST(HelperProgram, DoesNotRunFromAnotherPlace) {
    const Ended ended = run("LISTEN_FDS=1 '" KYB_HELPER_PROGRAM "'");
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(test::messagesOf(ended.errors), kMisplaced);
}

TEST(HelperProgram, DoesNotRunOnceAnotherFileLiesAtItsPlace) {
    const test::RootFolder root;
    root.registerHelper(KYB_HELPER_PROGRAM);
    const std::string file = "'" + root.helperFile() + "'";
    const Ended ended = run("exec 9<" + file + "; rm " + file + "; cp /bin/true " + file + "; exec /proc/self/fd/9");
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(test::messagesOf(ended.errors), kMisplaced);
}

TEST(HelperProgram, DoesNotRunBehindALinkOnTheWayToItsPlace) {
    for (const std::string folder : {"/Library", "/Library/PrivilegedHelperTools"}) {
        const test::RootFolder root;
        root.registerHelper(KYB_HELPER_PROGRAM);
        std::filesystem::rename(root.at(folder), root.at("/moved"));
        std::filesystem::create_directory_symlink(root.at("/moved"), root.at(folder));
        const Ended ended = run("LISTEN_FDS=1 '" + root.helperFile() + "'");
        EXPECT_EQ(ended.status, 2);
        EXPECT_EQ(test::messagesOf(ended.errors), kMisplaced);
    }
}

TEST(HelperProgram, DoesNotRunWithoutAListeningSocket) {
    const test::RootFolder root;
    root.registerHelper(KYB_HELPER_PROGRAM);
    std::array<int, 2> connected{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, connected.data()), 0);
    const std::string socket = "exec 3<&" + std::to_string(connected[0]) + "; ";
    const std::vector<std::string> starts{"", "export LISTEN_FDS=1; exec 3<&-; ", "export LISTEN_FDS=2; ",
                                          "export LISTEN_FDS=1; exec 3</dev/null; ", "export LISTEN_FDS=1; " + socket};
    for (const std::string &start : starts) {
        const Ended ended = run(start + "'" + root.helperFile() + "'");
        EXPECT_EQ(ended.status, 2) << start;
        EXPECT_EQ(test::messagesOf(ended.errors), kNotOnDemand) << start;
    }
    std::ranges::for_each(connected, close);
}

} // namespace
} // namespace kyb::helper
