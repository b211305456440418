#include "base/notification_center.h"

#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace kyb {
namespace {

struct Observation {
    std::string name;
    std::function<void()> observer;
};

std::map<int, Observation> &observations() {
    static std::map<int, Observation> all;
    return all;
}

} // namespace

int addObserver(const char *name, std::function<void()> observer) {
    static int last = 0;
    observations().emplace(++last, Observation{name, std::move(observer)});
    return last;
}

void removeObserver(int observation) {
    observations().erase(observation);
}

void postNotification(const char *name) {
    std::vector<std::function<void()>> due; // an observer may add or remove observers
    for (const auto &[number, observation] : observations()) {
        if (observation.name == name) {
            due.push_back(observation.observer);
        }
    }
    for (const auto &observer : due) {
        observer();
    }
}

} // namespace kyb
