#pragma once

#include <memory>
#include <plist/plist.h>

// For those who link libplist. It stands here and not in channel/, since the stand-in for macOS may include no more of
// common/ than this folder.

namespace kyb {

struct PlistDeleter {
    void operator()(plist_t node) const { plist_free(node); }
};

/// Owns a property list, with all that is below its root.
using Plist = std::unique_ptr<void, PlistDeleter>;

} // namespace kyb
