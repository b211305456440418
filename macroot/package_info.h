#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kyb::macroot {

/// What a component's PackageInfo says.
struct PackageInfo {
    std::string identifier;
    std::string version;
    std::string installLocation; ///< relative, as payloadPath() gives it; "" for the root itself
    std::string preinstall;      ///< path in the unpacked scripts; "" for none
    std::string postinstall;     ///< the same
};

/// What a product's Distribution says.
struct Distribution {
    std::string title;
    std::vector<std::string> componentFolders; ///< such as "driver.pkg", in the order of their installation, each once
};

/// More components than that are refused: each is looked for in the whole package anew.
inline constexpr std::size_t kMaxComponents = 1000;

/// Both throw InstallError when the text is not what it should be; nothing of it is then used.
PackageInfo parsePackageInfo(std::string_view xml);
Distribution parseDistribution(std::string_view xml);

/// Text with every %XX replaced by the byte that it stands for; a % without two hexadecimal digits stays.
std::string percentDecoded(std::string_view text);

} // namespace kyb::macroot
