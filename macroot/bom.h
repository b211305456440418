#pragma once

#include "posix_checksum.h"

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace kyb::macroot {

/// One item of a payload, as a bill of materials lists it. It belongs to root.
struct BomItem {
    std::string path; ///< "." or "./..."
    mode_t mode = 0;  ///< with the bits for its type
    std::uint32_t modified = 0;
    std::uint32_t sizeBytes = 0;
    PosixChecksum checksum; ///< of a file's content, of a link's target
    std::string linkTarget;
};

std::uint64_t totalBytes(const std::vector<BomItem> &items);

/// The content of a package's "Bom", the bill of materials from which macOS's installer learns what the payload holds,
/// and which becomes part of the receipt. Throws std::runtime_error when the folder above an item is no item itself.
std::string bomText(const std::vector<BomItem> &items);

} // namespace kyb::macroot
