#pragma once

namespace kyb::helper {

/// From now on SIGPIPE and SIGXFSZ are ignored: a write that cannot be fails. Before the first write.
void ignoreSignalsOfWriting();

/// From now on a child's end (SIGCHLD) and a request to stop (SIGTERM, SIGINT, SIGHUP) make the returned descriptor
/// readable. Once per process, before it has a second thread; -1 when it cannot be.
int watchSignals();

enum class StopRequest { None, Received };

/// Empties the descriptor. \return whether a request to stop came since the last call.
StopRequest takeSignals();

} // namespace kyb::helper
