#pragma once

#include <functional>

namespace kyb {

/// Runs \p observer for every later post of \p name. Returns a number for `removeObserver`. Main thread.
int addObserver(const char *name, std::function<void()> observer);

/// Ends an observation; an unknown number is ignored. Main thread.
void removeObserver(int observation);

/// Runs the observers of \p name, in the order in which they were added, on the calling thread, before it returns.
/// Main thread.
void postNotification(const char *name);

} // namespace kyb
