#pragma once

#include <functional>

// The three thread verbs, and what goes with them. No other file of the program names a thread or posts to one.

namespace kyb {

/// Runs \p task on the main thread when its event loop turns next, in the order of the calls. Does not wait.
/// Any thread. Dropped when the application object is gone.
void onMainThread(std::function<void()> task);

/// Runs \p task on the main thread and returns when it has ended. On the main thread it runs at once. Any thread.
void onMainThreadAndWait(std::function<void()> task);

/// Runs \p task on a thread of its own. The thread may outlive everything: the process ends without waiting for it (see
/// `endProcess`), so a task may use what lives as long as the process. Any thread.
void inBackground(std::function<void()> task);
void startInBackground(std::function<void()> task); ///< what it does, for a test's own `inBackground`

/// Lets other threads go first. Any thread.
void yieldThread();

/// Whether the caller is the main thread (true as long as there is no application object).
bool isMainThread();

/// Whether nothing is left to do: no task runs in the background, and none waits for the main thread. Main thread.
bool isIdle();

/// Ends the process at once with \p status: output is flushed, nothing is destroyed, so no thread that still runs can
/// touch what is gone. Main thread, after the event loop.
[[noreturn]] void endProcess(int status);

} // namespace kyb
