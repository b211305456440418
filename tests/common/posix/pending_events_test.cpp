#include "posix/PendingEvents.h"

#include "posix/NoDestructor.h"

#include <future>
#include <gtest/gtest.h>

namespace kyb {
namespace {

using namespace std::chrono_literals;

class PendingEventsTest : public testing::Test {
protected:
    bool nonePending() { return events_.waitFor(0ms); }

    PendingEvents events_;
};

TEST_F(PendingEventsTest, NeedNoWaitWhenThereAreNone) {
    events_.wait();
    EXPECT_TRUE(nonePending());
}

TEST_F(PendingEventsTest, AreWaitedForUntilTheLimit) {
    events_.add();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(events_.waitFor(20ms));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
}

TEST_F(PendingEventsTest, AreWaitedForUntilAllAreSettled) {
    const auto first = events_.add();
    const auto second = events_.add();
    events_.settle(second);
    EXPECT_FALSE(nonePending());
    events_.settle(first);
    EXPECT_TRUE(nonePending());
}

TEST_F(PendingEventsTest, CountOnceHoweverOftenTheyAreSettled) {
    const auto first = events_.add();
    events_.settle(first);
    const auto second = events_.add();
    events_.settle(first);
    events_.settle(0);
    EXPECT_NE(first, second);
    EXPECT_NE(first, 0U);
    EXPECT_FALSE(nonePending());
    events_.settle(second);
    EXPECT_TRUE(nonePending());
}

TEST_F(PendingEventsTest, EndAWaitFromAnotherThread) {
    const auto event = events_.add();
    const auto waiting = std::async(std::launch::async, [this] { events_.wait(); });
    EXPECT_EQ(waiting.wait_for(50ms), std::future_status::timeout);
    events_.settle(event);
    waiting.wait();
}

TEST_F(PendingEventsTest, ThatAreDeliveredAreSettled) {
    const auto event = events_.add();
    int calls = 0;
    events_.deliver(event, [&] { ++calls; });
    EXPECT_TRUE(nonePending());
    events_.deliver(event, [&] { ++calls; });
    EXPECT_EQ(calls, 2) << "a connection may have several";
}

TEST_F(PendingEventsTest, ThatWereForgottenAreDroppedAndSettled) {
    const auto before = events_.add();
    events_.forget();
    const auto after = events_.add();
    std::string delivered;
    events_.deliver(before, [&] { delivered += "before "; });
    events_.deliver(after, [&] { delivered += "after "; });
    EXPECT_EQ(delivered, "after ");
    EXPECT_TRUE(nonePending());
}

TEST_F(PendingEventsTest, AreForgottenWhenNoHandlerRunsAnyMore) {
    const auto event = events_.add();
    std::promise<void> begun;
    std::promise<void> goOn;
    const auto delivery = std::async(std::launch::async, [&] {
        events_.deliver(event, [&] {
            begun.set_value();
            goOn.get_future().wait();
        });
    });
    begun.get_future().wait();
    const auto forgotten = std::async(std::launch::async, [this] { events_.forget(); });
    EXPECT_EQ(forgotten.wait_for(50ms), std::future_status::timeout);
    goOn.set_value();
    forgotten.wait();
    delivery.wait();
}

struct NoteOfDestruction {
    explicit NoteOfDestruction(bool &destroyed) : isDestroyed(destroyed) {}
    ~NoteOfDestruction() { isDestroyed = true; }
    bool &isDestroyed;
};

TEST(NoDestructorTest, NeverDestroysWhatItHolds) {
    bool isDestroyed = false;
    {
        NoDestructor<NoteOfDestruction> holder(isDestroyed);
        EXPECT_EQ(&(*holder).isDestroyed, &isDestroyed);
    }
    EXPECT_FALSE(isDestroyed);
}

} // namespace
} // namespace kyb
