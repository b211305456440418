#pragma once

namespace kyb::helper {

/// From now on a child's end (SIGCHLD) and a wish that the helper ends (SIGTERM, SIGINT, SIGHUP) make the returned
/// descriptor readable, and SIGPIPE is ignored. Once per process, before it has a second thread; -1 when it cannot be.
int watchSignals();

enum class Wish { None, End };

/// Empties the descriptor. \return whether the helper was asked to end since the last call.
Wish takeSignals();

} // namespace kyb::helper
