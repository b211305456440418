#include "support/RootFolder.h"

#include "posix/UniqueFd.h"

#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>

namespace kyb::helper {
namespace {

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
    EXPECT_NE(ended.errors.find("does not lie at its registered place"), std::string::npos) << ended.errors;
}

TEST(HelperProgram, DoesNotRunOnceAnotherFileLiesAtItsPlace) {
    const test::RootFolder root;
    root.registerHelper(KYB_HELPER_PROGRAM);
    const std::string file = "'" + root.helperFile() + "'";
    const Ended ended = run("exec 9<" + file + "; rm " + file + "; cp /bin/true " + file + "; exec /proc/self/fd/9");
    EXPECT_EQ(ended.status, 2);
    EXPECT_NE(ended.errors.find("does not lie at its registered place"), std::string::npos) << ended.errors;
}

TEST(HelperProgram, DoesNotRunBehindALinkOnTheWayToItsPlace) {
    for (const std::string folder : {"/Library", "/Library/PrivilegedHelperTools"}) {
        const test::RootFolder root;
        root.registerHelper(KYB_HELPER_PROGRAM);
        std::filesystem::rename(root.at(folder), root.at("/moved"));
        std::filesystem::create_directory_symlink(root.at("/moved"), root.at(folder));
        const Ended ended = run("LISTEN_FDS=1 '" + root.helperFile() + "'");
        EXPECT_EQ(ended.status, 2);
        EXPECT_NE(ended.errors.find("does not lie at its registered place"), std::string::npos) << ended.errors;
    }
}

TEST(HelperProgram, DoesNotRunWithoutAListeningSocket) {
    const test::RootFolder root;
    root.registerHelper(KYB_HELPER_PROGRAM);
    for (const std::string start : {"", "LISTEN_FDS=1 ", "LISTEN_FDS=2 ", "LISTEN_FDS=1 exec 3</dev/null; "}) {
        const Ended ended = run(start + "'" + root.helperFile() + "'");
        EXPECT_EQ(ended.status, 2);
        EXPECT_NE(ended.errors.find("with a listening socket"), std::string::npos) << ended.errors;
    }
}

} // namespace
} // namespace kyb::helper
