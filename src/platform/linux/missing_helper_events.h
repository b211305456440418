#pragma once

#include <memory>

// The count that lets a registration wait for the events that told of a missing helper. Any thread.

namespace kyb {

/// Stands for one event that may have to be delivered: it counts until the last copy of the ticket is gone.
using EventTicket = std::shared_ptr<void>;

EventTicket takeEventTicket();

/// Returns when no ticket is out. Never called by an event's handler.
void waitForEventTickets();

} // namespace kyb
