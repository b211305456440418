#include "platform/system_log.h"

#include "posix/file_io.h"
#include "support/CapturedErrors.h"
#include "support/RootFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sstream>
#include <thread>
#include <unistd.h>
#include <vector>

namespace kyb {
namespace {

TEST(SystemLog, WritesTheMessageAndALineFeed) {
    const test::RootFolder root;
    {
        const test::CapturedErrors captured(root.at("/errors"));
        systemLog(QStringLiteral("Grüße %s"));
        systemLog(QStringLiteral("with its own\n"));
        systemLog(QString());
    }
    EXPECT_EQ(test::contentOf(root.at("/errors")), "Grüße %s\nwith its own\n\n\n");
}

TEST(SystemLog, WaitsForAReaderWhoReadsInGoodTime) {
    Pipe pipe = makePipe();
    const std::size_t room = static_cast<std::size_t>(fcntl(pipe.writing.get(), F_GETPIPE_SZ));
    ASSERT_TRUE(writeAll(pipe.writing.get(), std::string(room, '\n')));
    const UniqueFd errors(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3));
    dup2(pipe.writing.get(), STDERR_FILENO);
    std::string content;
    std::thread reader([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        content = readAll(pipe.reading.get(), kNoLimit).value_or("");
    });
    systemLog(QStringLiteral("heard"));
    dup2(errors.get(), STDERR_FILENO);
    pipe.writing.reset();
    reader.join();
    EXPECT_EQ(content, std::string(room, '\n') + "heard\n");
}

/// NB: it waits for the reader once; each time would take longer than this test may.
TEST(SystemLog, LeavesLinesOutForAReaderWhoHasStoppedUntilHeReadsAgain) {
    Pipe pipe = makePipe();
    const std::size_t room = static_cast<std::size_t>(fcntl(pipe.writing.get(), F_GETPIPE_SZ));
    ASSERT_TRUE(writeAll(pipe.writing.get(), std::string(room, '\n')));
    const UniqueFd errors(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3));
    dup2(pipe.writing.get(), STDERR_FILENO);
    for (int i = 0; i < 100; ++i) {
        systemLog(QStringLiteral("lost"));
    }
    std::string content(room, ' ');
    EXPECT_EQ(read(pipe.reading.get(), content.data(), room), static_cast<ssize_t>(room));
    systemLog(QStringLiteral("heard"));
    dup2(errors.get(), STDERR_FILENO);
    pipe.writing.reset();
    EXPECT_EQ(readAll(pipe.reading.get(), kNoLimit), "heard\n");
}

TEST(SystemLog, KeepsTheMessagesOfSeveralThreadsWhole) {
    const test::RootFolder root;
    {
        const test::CapturedErrors captured(root.at("/errors"));
        std::vector<std::thread> threads;
        for (char letter = 'a'; letter < 'e'; ++letter) {
            threads.emplace_back([letter] {
                for (int i = 0; i < 500; ++i) {
                    systemLog(QString(300, QLatin1Char(letter)));
                }
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
    }
    std::istringstream lines(test::contentOf(root.at("/errors")));
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        ASSERT_EQ(line, std::string(300, line.at(0)));
    }
    EXPECT_EQ(count, 2000);
}

} // namespace
} // namespace kyb
