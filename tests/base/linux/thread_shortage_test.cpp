#include "base/threads.h"

#include "ControllerTest.h"

#include <pthread.h>

namespace {

class ThreadShortage : public ControllerTest {};

TEST_F(ThreadShortage, TheProcessEndsAsFailedAndSaysSo) {
    const auto startThreadWithTooLargeAStack = [] {
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, std::size_t{1} << 50);
        pthread_setattr_default_np(&attributes);
        kyb::inBackground([] {});
    };
    EXPECT_EXIT(startThreadWithTooLargeAStack(), testing::ExitedWithCode(1), "^No thread can be started: ");
}

} // namespace
