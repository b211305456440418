#include "base/notification_center.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What was called, in its order.
class NotificationCenter : public testing::Test {
protected:
    ~NotificationCenter() override { std::ranges::for_each(observations_, kyb::removeObserver); }

    int observe(const char *name, const char *observer) {
        observations_.push_back(kyb::addObserver(name, [this, observer] { calls.emplace_back(observer); }));
        return observations_.back();
    }

    std::vector<std::string> calls;

private:
    std::vector<int> observations_;
};

TEST_F(NotificationCenter, RunsTheObserversOfANameInTheirOrderForEachPost) {
    observe("name", "first");
    observe("other", "another's");
    observe("name", "second");
    kyb::postNotification("name");
    kyb::postNotification("name");
    EXPECT_THAT(calls, ElementsAre("first", "second", "first", "second"));
}

TEST_F(NotificationCenter, AnObserverThatWasRemovedHearsNothing) {
    kyb::removeObserver(observe("name", "removed"));
    observe("name", "left");
    kyb::postNotification("name");
    EXPECT_THAT(calls, ElementsAre("left"));
}

TEST_F(NotificationCenter, AnObserverMayAddAndRemoveObservers) {
    const int added = observe("name", "first");
    int another = 0;
    another = kyb::addObserver("name", [&] {
        kyb::removeObserver(added);
        kyb::removeObserver(another);
        observe("name", "late");
    });
    kyb::postNotification("name");
    EXPECT_THAT(calls, ElementsAre("first")) << "who comes while a post is delivered hears the next";
    kyb::postNotification("name");
    EXPECT_THAT(calls, ElementsAre("first", "late"));
}

TEST_F(NotificationCenter, APostThatNobodyObservesDoesNothing) {
    observe("name", "one");
    kyb::postNotification("nobody");
    EXPECT_THAT(calls, IsEmpty());
}

} // namespace
