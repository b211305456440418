#include "session.h"

#include <set>

namespace kyb::helper {
namespace {

/// How often new processes are looked for on a machine that always has some.
constexpr int kMostLooks = 100;

} // namespace

void visitOthersInSession(pid_t leader, const std::function<void(pid_t)> &visit) {
    std::set<pid_t> met{leader};
    bool someAreNew = true;
    for (int look = 0; look < kMostLooks && someAreNew; ++look) {
        someAreNew = false;
        for (const pid_t process : allProcesses()) {
            const bool isNew = met.insert(process).second;
            someAreNew = someAreNew || isNew;
            if (isNew && runsInSession(process, leader)) {
                visit(process);
            }
        }
    }
}

} // namespace kyb::helper
