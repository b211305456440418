#include "FakeMacOS.h"

#include "posix/NoDestructor.h"

#include <mutex>

namespace fake {
namespace {

std::mutex mutex;
std::vector<std::string> &recorded() {
    static kyb::NoDestructor<std::vector<std::string>> calls;
    return *calls;
}

} // namespace

Machine &machine() {
    static kyb::NoDestructor<Machine> machine;
    return *machine;
}

std::vector<std::string> calls() {
    const std::lock_guard lock(mutex);
    return recorded();
}

void record(std::string call) {
    const std::lock_guard lock(mutex);
    recorded().push_back(std::move(call));
}

void forgetServices();

void reset() {
    machine() = Machine();
    forgetServices();
    const std::lock_guard lock(mutex);
    recorded().clear();
}

} // namespace fake

extern "C" bool kybFakeMacOSAtLeast(int version) {
    return fake::machine().macOSVersion >= version;
}
