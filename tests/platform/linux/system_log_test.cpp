#include "platform/system_log.h"

#include "support/CapturedErrors.h"
#include "support/RootFolder.h"

#include <gtest/gtest.h>
#include <sstream>
#include <thread>
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
