#include "posix/spawn.h"

#include "posix/file_io.h"
#include "support/RootFolder.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace kyb {
namespace {

using testing::AnyOf;
using testing::HasSubstr;

int statusOf(std::optional<pid_t> process) {
    int status = -1;
    EXPECT_TRUE(process) << std::strerror(errno);
    EXPECT_EQ(waitpid(process.value_or(-1), &status, 0), process.value_or(0));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// What \p commandLine prints when the shell is started with \p options.
std::string outputOf(const std::string &commandLine, SpawnOptions options = {}) {
    Pipe output = makePipe();
    options.arguments = {"/bin/sh", "-c", commandLine};
    options.descriptors = {kDevNull, output.writing.get(), STDERR_FILENO};
    const std::optional<pid_t> process = spawn(options);
    output.writing.reset();
    const std::string text = readAll(output.reading.get(), kNoLimit).value_or("");
    EXPECT_EQ(statusOf(process), 0) << text;
    return text;
}

/// The fields of /proc/PID/stat behind the state: parent, group, session.
const std::string kGroupAndSession = "cut -d')' -f2 /proc/self/stat | cut -d' ' -f4,5; echo $$";

TEST(Spawn, HandsTheArgumentsOverAsTheyAre) {
    Pipe output = makePipe();
    const auto process = spawn({.arguments = {"/bin/sh", "-c", "printf '%s|%s' \"$0\" \"$1\"", "a b", "\"'$"},
                                .descriptors = {kDevNull, output.writing.get()}});
    output.writing.reset();
    EXPECT_EQ(readAll(output.reading.get(), kNoLimit), "a b|\"'$");
    EXPECT_EQ(statusOf(process), 0);
}

TEST(Spawn, InheritsTheEnvironmentOrHasItsOwn) {
    setenv("KYB_TEST_OF_SPAWN", "inherited", 1);
    EXPECT_EQ(outputOf("echo $KYB_TEST_OF_SPAWN $OTHER"), "inherited\n");
    EXPECT_EQ(outputOf("echo $KYB_TEST_OF_SPAWN $OTHER", {.environment = {{"OTHER=own"}}}), "own\n");
    unsetenv("KYB_TEST_OF_SPAWN");
}

TEST(Spawn, InheritsDescriptorsWhenNoneAreNamed) {
    Pipe kept = makePipe();
    fcntl(kept.writing.get(), F_SETFD, 0);
    const std::string number = std::to_string(kept.writing.get());
    EXPECT_EQ(statusOf(spawn({.arguments = {"/bin/sh", "-c", "echo here >/proc/self/fd/" + number}})), 0);
    kept.writing.reset();
    EXPECT_EQ(readAll(kept.reading.get(), kNoLimit), "here\n");
}

TEST(Spawn, HasNoDescriptorButTheNamedOnes) {
    const UniqueFd inheritable(open("/dev/null", O_RDONLY));
    EXPECT_EQ(outputOf("exec ls /proc/self/fd"), "0\n1\n2\n3\n") << "3 is the listing's own";
    EXPECT_EQ(outputOf("readlink /proc/$$/fd/0"), "/dev/null\n");
}

TEST(Spawn, MovesDescriptorsWhoseNumbersCrossEachOther) {
    Pipe output = makePipe();
    const test::RootFolder root;
    const UniqueFd error(open(root.at("/error").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    const UniqueFd ownOutput(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 100));
    const UniqueFd ownError(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 100));
    dup2(error.get(), STDOUT_FILENO);
    dup2(output.writing.get(), STDERR_FILENO);
    const auto process = spawn({.arguments = {"/bin/sh", "-c", "echo out; echo err >&2"},
                                .descriptors = {kDevNull, STDERR_FILENO, STDOUT_FILENO}});
    dup2(ownOutput.get(), STDOUT_FILENO);
    dup2(ownError.get(), STDERR_FILENO);
    output.writing.reset();
    EXPECT_EQ(readAll(output.reading.get(), kNoLimit), "out\n");
    EXPECT_EQ(statusOf(process), 0);
    EXPECT_EQ(test::contentOf(root.at("/error")), "err\n");
}

TEST(Spawn, MovesDescriptorsWhereALowNumberIsFree) {
    Pipe output = makePipe();
    const UniqueFd ownInput(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100));
    close(STDIN_FILENO);
    const auto process =
        spawn({.arguments = {"/bin/sh", "-c", "echo out"}, .descriptors = {kDevNull, output.writing.get()}});
    dup2(ownInput.get(), STDIN_FILENO);
    output.writing.reset();
    EXPECT_EQ(readAll(output.reading.get(), kNoLimit), "out\n");
    EXPECT_EQ(statusOf(process), 0);
}

TEST(Spawn, StaysInTheGroupAndSession) {
    const std::string expected = std::to_string(getpgrp()) + " " + std::to_string(getsid(0)) + "\n";
    EXPECT_TRUE(outputOf(kGroupAndSession).starts_with(expected));
}

TEST(Spawn, LeadsAGroupOfItsOwnInTheSameSession) {
    const std::string printed = outputOf(kGroupAndSession, {.group = ProcessGroup::Own});
    const std::string process = printed.substr(printed.find('\n') + 1);
    EXPECT_EQ(printed, process.substr(0, process.size() - 1) + " " + std::to_string(getsid(0)) + "\n" + process);
}

TEST(Spawn, LeadsASessionOfItsOwn) {
    const std::string printed = outputOf(kGroupAndSession, {.group = ProcessGroup::OwnSession});
    const std::string process = printed.substr(printed.find('\n') + 1, printed.size() - printed.find('\n') - 2);
    EXPECT_EQ(printed, process + " " + process + "\n" + process + "\n");
}

TEST(Spawn, StartsWithDefaultSignalsAndNoneBlocked) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_BLOCK, &blocked, &before);
    const auto ignored = std::signal(SIGHUP, SIG_IGN);
    const std::string signals = outputOf("exec grep -E 'SigIgn|SigBlk' /proc/self/status");
    std::signal(SIGHUP, ignored);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    // NB: 32 and 33 belong to the C library, which leaves them ignored in every program that it starts.
    EXPECT_THAT(signals, AnyOf("SigBlk:\t0000000000000000\nSigIgn:\t0000000180000000\n",
                               "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n"));
}

TEST(Spawn, StartsInTheWorkingFolder) {
    const test::RootFolder root;
    EXPECT_EQ(outputOf("pwd -P", {.workingFolder = root.at("/")}), root.at("\n"));
    EXPECT_EQ(outputOf("pwd -P"), std::filesystem::current_path().string() + "\n");
}

struct FailureRow {
    const char *name;
    SpawnOptions options;
    int error;
};

class SpawnFailure : public testing::TestWithParam<FailureRow> {};

TEST_P(SpawnFailure, GivesTheReason) {
    errno = 0;
    EXPECT_FALSE(spawn(GetParam().options));
    EXPECT_EQ(errno, GetParam().error);
}

const FailureRow kFailures[] = {
    {"NoSuchProgram", {.arguments = {"/no such program"}}, ENOENT},
    {"NoProgram", {.arguments = {"/etc/passwd"}}, EACCES},
    {"NoSuchWorkingFolder", {.arguments = {"/bin/true"}, .workingFolder = "/no such folder"}, ENOENT},
    {"ClosedDescriptor", {.arguments = {"/bin/true"}, .descriptors = {kDevNull, UniqueFd().get()}}, EBADF},
};
INSTANTIATE_TEST_SUITE_P(Reasons, SpawnFailure, testing::ValuesIn(kFailures),
                         [](const auto &row) { return row.param.name; });

} // namespace
} // namespace kyb
