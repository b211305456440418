#pragma once

#include "macos/cf_ref.h"

#include <QString>

namespace kyb {

/// \p text as a string of the system's. Any thread.
CFOwned<CFStringRef> toCFString(const QString &text);

/// The text of \p string; empty when it is null. Any thread.
QString fromCFString(CFStringRef string);

} // namespace kyb
