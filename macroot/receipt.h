#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kyb::macroot {

/// What the installer leaves behind for an installed component.
struct Receipt {
    std::string identifier;
    std::string version;
    std::string prefixPath; ///< "/" or, relative, the folder that the payload went to
    std::string packageFileName;
    std::int64_t installedAt = 0; ///< seconds since 1970
};

/// Its place below the root.
std::string receiptPath(std::string_view identifier);

/// Its text, an XML property list.
std::string receiptText(const Receipt &receipt);

} // namespace kyb::macroot
