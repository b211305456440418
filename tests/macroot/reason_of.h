#pragma once

#include "install_error.h"

#include <string>

namespace kyb::macroot {

/// Why \p action is refused; "none" when it is not.
template <typename Action> std::string reasonOf(Action action) {
    try {
        action();
    } catch (const InstallError &error) {
        return error.what();
    }
    return "none";
}

} // namespace kyb::macroot
