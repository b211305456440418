// What every fuzz target does with a promise that is not kept: it ends, so that the input is kept.

#pragma once

#include <cstdlib>
#include <string>

inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// Whether a path leads nowhere out of the folder that it is below.
inline bool staysBelow(const std::string &path) {
    return !path.starts_with('/') && ("/" + path + "/").find("/../") == std::string::npos;
}
