#pragma once

#include <functional>

namespace kyb {

/// From now on, asks before a request to end the process from outside (SIGTERM, SIGINT, SIGHUP) takes its effect.
///
/// \param mayEnd runs on the main thread for each request; when it returns true, or the main thread does not come to it
///        within ten seconds, the process ends by the signal, as it would have without this.
///
/// Main thread, once, before the event loop.
void askBeforeQuitSignals(std::function<bool()> mayEnd);

} // namespace kyb
