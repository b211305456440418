#include "platform/linux/missing_helper_events.h"

#include "posix/Mutex.h"

namespace kyb {
namespace {

struct Tickets {
    Mutex mutex;
    std::condition_variable returned;
    int out GUARDED_BY(mutex) = 0;
};

Tickets &tickets() {
    static auto *value = new Tickets; // NB: never destroyed; threads outlive static objects
    return *value;
}

void returnTicket(void *) {
    const MutexLock lock(tickets().mutex);
    --tickets().out;
    tickets().returned.notify_all();
}

} // namespace

EventTicket takeEventTicket() {
    const MutexLock lock(tickets().mutex);
    ++tickets().out;
    return {&tickets(), returnTicket};
}

void waitForEventTickets() {
    MutexLock lock(tickets().mutex);
    while (tickets().out != 0) {
        lock.wait(tickets().returned);
    }
}

} // namespace kyb
