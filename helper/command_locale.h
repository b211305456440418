#pragma once

namespace kyb::helper {

/// The locale in which commands run: one that every supported version of the system has, and whose characters are
/// UTF-8, as file names' are.
extern const char kCommandLocale[];

} // namespace kyb::helper
