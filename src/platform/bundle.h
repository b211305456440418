#pragma once

#include <QString>

namespace kyb {

/// The absolute path of the application bundle ("/.../Brelund Quorlix Installer.app"), no trailing slash. Any thread,
/// also before there is an application object.
QString bundlePath();

} // namespace kyb
