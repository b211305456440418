#pragma once

#include <QString>
#include <optional>

namespace kyb {

/// The bytes that the user may still write to the volume that holds \p path, or nothing when the system does not say.
/// \p path is a place on this machine (see `systemPath`). Any thread.
std::optional<double> freeBytesOnVolume(const QString &path);

/// The name of the volume or folder at \p path as the user sees it: the volume's name on macOS, on Linux the name of
/// the folder that plays "/". Never empty. Any thread.
QString displayName(const QString &path);

} // namespace kyb
