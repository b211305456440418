#include "base/notification_center.h"

#include <gtest/gtest.h>

namespace {

TEST(NotificationCenter, RunsEveryObserverOfTheNameOnceForEachPost) {
    int first = 0;
    int second = 0;
    int other = 0;
    const int a = kyb::addObserver("name", [&] { ++first; });
    const int b = kyb::addObserver("name", [&] { ++second; });
    const int c = kyb::addObserver("other", [&] { ++other; });
    kyb::postNotification("name");
    kyb::postNotification("name");
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 2);
    EXPECT_EQ(other, 0);
    for (const int observation : {a, b, c}) {
        kyb::removeObserver(observation);
    }
}

TEST(NotificationCenter, AnObserverThatWasRemovedHearsNothing) {
    int count = 0;
    kyb::removeObserver(kyb::addObserver("name", [&] { ++count; }));
    kyb::postNotification("name");
    EXPECT_EQ(count, 0);
}

TEST(NotificationCenter, APostThatNobodyObservesDoesNothing) {
    kyb::postNotification("nobody");
}

} // namespace
