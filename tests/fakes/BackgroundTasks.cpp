// Who starts a background task is led to here by the linker (--wrap, see CMakeLists.txt), so that a test's story tells
// it: that a task runs in the background, and which of two was started first, can be seen in no other way.

#include "FakeMachine.h"

// clang-format off
namespace kyb {
void startTask(std::function<void()> task) __asm__("__real__ZN3kyb12inBackgroundESt8functionIFvvEE");
void tellAndStartTask(std::function<void()> task) __asm__("__wrap__ZN3kyb12inBackgroundESt8functionIFvvEE");
} // namespace kyb
// clang-format on

void kyb::tellAndStartTask(std::function<void()> task) {
    startTask([number = FakeMachine::instance().startTask(), task = std::move(task)] {
        FakeMachine::becomeTask(number);
        task();
    });
}
