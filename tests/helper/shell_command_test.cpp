#include "ShellCommand.h"

#include "posix/UniqueFd.h"
#include "support/Program.h"
#include "support/RootFolder.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace kyb::helper {
namespace {

struct Ended {
    int waitStatus = -1;
    std::string output;
};

/// Runs \p command to its end.
Ended runToEnd(ShellCommand &command, ShellCommand::EndOf what = ShellCommand::EndOf::Shell) {
    Ended ended;
    const ShellCommand::Sink sink = [&ended](std::string_view bytes) { ended.output.append(bytes); };
    for (;;) {
        pollfd output{.fd = command.outputFd(), .events = POLLIN, .revents = 0};
        poll(&output, 1, 1);
        command.readOutput(sink);
        if (const auto status = command.takeEnd(sink, what)) {
            ended.waitStatus = *status;
            return ended;
        }
    }
}

Ended run(const std::string &commandLine) {
    return runToEnd(*ShellCommand::start(commandLine));
}

TEST(ShellCommand, GivesOutputAndErrorsInOrder) {
    const Ended ended = run("echo one; echo two >&2; echo three");
    EXPECT_EQ(ended.output, "one\ntwo\nthree\n");
    EXPECT_EQ(WEXITSTATUS(ended.waitStatus), 0);
}

TEST(ShellCommand, GivesTheStatus) {
    EXPECT_EQ(WEXITSTATUS(run("exit 7").waitStatus), 7);
    EXPECT_EQ(WTERMSIG(run("kill -9 $$").waitStatus), 9);
}

TEST(ShellCommand, RunsInACleanEnvironment) {
    setenv("KYB_TEST_SECRET", "1", 1);
    const Ended ended = run("env | cut -d= -f1 | sort | tr '\\n' ' '");
    // PWD is the shell's own, and "_" comes and goes with the shell.
    std::string names = ended.output;
    for (const std::string own : {"PWD ", "OLDPWD ", "_ ", "SHLVL "}) {
        if (const std::size_t at = names.find(own); at != std::string::npos && (at == 0 || names[at - 1] == ' ')) {
            names.erase(at, own.size());
        }
    }
    EXPECT_EQ(names, "HOME LANG LOGNAME PATH SHELL USER ");
    EXPECT_EQ(run("echo $PATH").output, "/usr/bin:/bin:/usr/sbin:/sbin\n");
    EXPECT_EQ(run("locale charmap; echo $LANG").output, "UTF-8\nC.UTF-8\n") << "a locale that there is";
}

TEST(ShellCommand, InheritsNoDescriptor) {
    const UniqueFd inheritable(open("/dev/null", O_RDONLY));
    EXPECT_EQ(run("exec ls /proc/self/fd").output, "0\n1\n2\n3\n") << "3 is the listing's own";
    EXPECT_EQ(run("readlink /proc/$$/fd/0").output, "/dev/null\n");
}

TEST(ShellCommand, RunsWithDefaultSignals) {
    signal(SIGPIPE, SIG_IGN);
    const Ended ended = run("exec grep -E 'SigIgn|SigBlk' /proc/self/status");
    signal(SIGPIPE, SIG_DFL);
    // NB: 32 and 33 belong to the C library, which leaves them ignored in every program that it starts.
    EXPECT_THAT(ended.output, testing::AnyOf("SigBlk:\t0000000000000000\nSigIgn:\t0000000180000000\n",
                                             "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n"));
}

TEST(ShellCommand, IsNotHeldUpByWhatItLeavesBehind) {
    const Ended ended = run("echo said; sleep 300 & echo $!");
    EXPECT_TRUE(ended.output.starts_with("said\n"));
    kill(std::stoi(ended.output.substr(5)), SIGKILL);
}

TEST(ShellCommand, IsNotHeldUpByEndlessOutputOfWhatItLeavesBehind) {
    const Ended ended = run("yes & echo $! >&2; sleep 0.1");
    const std::size_t number = ended.output.find_first_of("0123456789");
    ASSERT_NE(number, std::string::npos);
    kill(std::stoi(ended.output.substr(number)), SIGKILL);
}

TEST(ShellCommand, OutlivesTheEndOfItsOutput) {
    const Ended ended = run("echo said; exec >/dev/null 2>&1; sleep 0.2; exit 5");
    EXPECT_EQ(ended.output, "said\n");
    EXPECT_EQ(WEXITSTATUS(ended.waitStatus), 5);
}

TEST(ShellCommand, LosesNothingOfMuchOutput) {
    EXPECT_EQ(run("head -c 52428800 /dev/zero").output.size(), 52'428'800U);
}

TEST(ShellCommand, TheSessionEndsWithItsLastProcess) {
    const auto command = ShellCommand::start("(trap '' TERM; sleep 0.3; echo late) & exit 4");
    const auto start = std::chrono::steady_clock::now();
    const Ended ended = runToEnd(*command, ShellCommand::EndOf::Session);
    EXPECT_EQ(WEXITSTATUS(ended.waitStatus), 4);
    EXPECT_EQ(ended.output, "late\n");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(250));
}

TEST(ShellCommand, KillsWhatRunsInAGroupOfItsOwn) {
    const auto command = ShellCommand::start(
        R"(perl -e 'setpgrp(0, 0); $SIG{TERM} = "IGNORE"; $| = 1; print "$$\n"; sleep 300' & wait)");
    std::string output;
    while (output.find('\n') == std::string::npos) {
        command->readOutput([&](std::string_view bytes) { output += bytes; });
    }
    const pid_t inner = std::stoi(output);
    ASSERT_EQ(getpgid(inner), inner);
    command->terminate();
    EXPECT_EQ(kill(inner, 0), 0);
    do {
        command->killAll();
    } while (!command->takeEnd([](std::string_view) {}, ShellCommand::EndOf::Session));
    EXPECT_THAT(test::stateOf(inner), testing::AnyOf('X', 'Z'));
}

/// A shell command line for \p length processes, each the child of the one before, which live for 10 ms each, ignore
/// SIGTERM and say "on". The shell itself ends at once.
std::string chainOf(int length) {
    return R"(perl -e 'setpgrp(0, 0); $SIG{TERM} = "IGNORE"; $| = 1;
                       for (1 .. )" +
           std::to_string(length) + R"() { exit if fork; print "on\n"; select(undef, undef, undef, 0.01) }' &)";
}

TEST(ShellCommand, TheSessionLastsAsLongAsAChainOfProcessesThatForkAndEnd) {
    const auto command = ShellCommand::start(chainOf(100));
    EXPECT_EQ(runToEnd(*command, ShellCommand::EndOf::Session).output.size(), 100 * std::string("on\n").size());
}

TEST(ShellCommand, KillsAChainOfProcessesThatForkAndEnd) {
    const test::RootFolder root;
    ASSERT_EQ(mkfifo(root.at("/alive").c_str(), 0600), 0);
    const UniqueFd alive(open(root.at("/alive").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    const auto command = ShellCommand::start("exec 3>'" + root.at("/alive") + "'; " + chainOf(10000));
    std::string output;
    while (output.size() < 12) {
        command->readOutput([&](std::string_view bytes) { output += bytes; });
    }
    do {
        command->killAll();
    } while (!command->takeEnd([](std::string_view) {}, ShellCommand::EndOf::Session));
    char byte = 0;
    EXPECT_EQ(read(alive.get(), &byte, 1), 0) << "nobody is left who could write";
}

TEST(ShellCommand, IsEndedWithItsGroup) {
    const auto command = ShellCommand::start("sleep 300 | cat; echo never");
    command->terminate();
    const Ended ended = runToEnd(*command);
    EXPECT_EQ(WTERMSIG(ended.waitStatus), SIGTERM);
    EXPECT_EQ(ended.output, "");
}

} // namespace
} // namespace kyb::helper
