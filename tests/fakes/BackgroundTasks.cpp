// Takes the place of the program's inBackground, which is weak, so that a test's story tells of each background task:
// that it runs in the background, and which of two was started first, can be seen in no other way.

#include "FakeMachine.h"
#include "base/threads.h"

void kyb::inBackground(std::function<void()> task) {
    startInBackground([number = FakeMachine::instance().startTask(), task = std::move(task)] {
        FakeMachine::becomeTask(number);
        task();
    });
}
