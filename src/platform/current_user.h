#pragma once

#include <QString>

namespace kyb {

/// The login name of the user who runs the process; empty when the system does not know it. Any thread.
QString currentUserName();

} // namespace kyb
