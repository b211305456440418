#include "base/threads.h"

#include "ControllerTest.h"

#include <atomic>

namespace {

class Threads : public ControllerTest {};

TEST_F(Threads, MainThreadTasksRunInTheOrderOfTheCallsAndNotBeforeTheLoopTurns) {
    std::vector<int> order;
    for (int i = 0; i < 100; ++i) {
        kyb::onMainThread([&order, i] { order.push_back(i); });
    }
    EXPECT_TRUE(order.empty());
    QCoreApplication::processEvents();
    ASSERT_EQ(order.size(), 100U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(Threads, WaitingOnTheMainThreadItselfRunsAtOnce) {
    bool ran = false;
    kyb::onMainThreadAndWait([&] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST_F(Threads, WaitingFromTheBackgroundReturnsAfterTheTaskHasRunOnTheMainThread) {
    std::atomic<bool> ranOnMain{false};
    std::atomic<bool> seenAfterwards{false};
    kyb::inBackground([&] {
        EXPECT_FALSE(kyb::isMainThread());
        kyb::onMainThreadAndWait([&] { ranOnMain = kyb::isMainThread(); });
        seenAfterwards = ranOnMain.load();
    });
    settle();
    EXPECT_TRUE(seenAfterwards);
}

TEST_F(Threads, TasksOfOneThreadKeepTheirOrderAmongThoseOfOthers) {
    std::vector<std::pair<int, int>> seen;
    for (int thread = 0; thread < 4; ++thread) {
        kyb::inBackground([&seen, thread] {
            for (int i = 0; i < 200; ++i) {
                kyb::onMainThread([&seen, thread, i] { seen.emplace_back(thread, i); });
            }
        });
    }
    settle();
    QCoreApplication::processEvents();
    ASSERT_EQ(seen.size(), 800U);
    std::stable_sort(seen.begin(), seen.end(), [](auto a, auto b) { return a.first < b.first; });
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}

} // namespace
