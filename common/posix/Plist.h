#pragma once

#include <cstdlib>
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

/// Owns what libplist allocates and the caller frees.
struct PlistFree {
    void operator()(void *memory) const { std::free(memory); }
};

/// Calls \p use with the key and the value of each entry of a dictionary, in their order.
template <typename Use> void eachEntry(plist_t dictionary, const Use &use) {
    plist_dict_iter place = nullptr;
    plist_dict_new_iter(dictionary, &place);
    const std::unique_ptr<void, PlistFree> placeOwner(place);
    for (;;) {
        char *key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(dictionary, place, &key, &value);
        const std::unique_ptr<char, PlistFree> keyOwner(key);
        if (value == nullptr) {
            return;
        }
        use(key, value);
    }
}

} // namespace kyb
