#pragma once

#include <QString>

namespace kyb {

/// Sends one message to the platform's system log (the unified log on macOS; standard error on Linux), as it stands and
/// followed by a line feed. Any thread; messages of several threads interleave only whole. A failure is silent.
void systemLog(const QString &message);

} // namespace kyb
