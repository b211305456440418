#include "platform/linux/missing_helper_events.h"

#include <condition_variable>
#include <mutex>

namespace kyb {
namespace {

struct Tickets {
    std::mutex mutex;
    std::condition_variable returned;
    int out = 0;
};

Tickets &tickets() {
    static auto *value = new Tickets; // NB: never destroyed; threads outlive static objects
    return *value;
}

void returnTicket(void *) {
    const std::lock_guard lock(tickets().mutex);
    --tickets().out;
    tickets().returned.notify_all();
}

} // namespace

EventTicket takeEventTicket() {
    const std::lock_guard lock(tickets().mutex);
    ++tickets().out;
    return {&tickets(), returnTicket};
}

void waitForEventTickets() {
    std::unique_lock lock(tickets().mutex);
    tickets().returned.wait(lock, [] { return tickets().out == 0; });
}

} // namespace kyb
