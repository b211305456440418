#pragma once

#include "posix/UniqueFd.h"

#include <string>

namespace kyb::helper {

/// The folder that plays "/": the one below which a running program lies at the registered helper's place. No link
/// leads there: it might lead anywhere. It is held from here on, for another folder may get its name. Any thread.
/// \param program a link to the program, such as "/proc/self/exe".
/// \return none when it lies elsewhere.
UniqueFd openRootOf(const std::string &program);

} // namespace kyb::helper
