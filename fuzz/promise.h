// What every fuzz target does with a promise that is not kept: it ends, so that the input is kept.

#pragma once

#include <cstdlib>

inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}
