// A package's descriptions of any bytes: what is accepted of them leads nowhere out of the root, and is bounded.

#include "install_error.h"
#include "package_info.h"
#include "promise.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

using namespace kyb::macroot;

namespace {

void requireSoundInfo(std::string_view xml) {
    try {
        const PackageInfo info = parsePackageInfo(xml);
        require(staysBelow(info.installLocation) && staysBelow(info.preinstall) && staysBelow(info.postinstall));
        require(!info.identifier.empty() && staysBelow(info.identifier));
    } catch (const InstallError &) {
    }
}

void requireSoundDistribution(std::string_view xml) {
    try {
        const Distribution distribution = parseDistribution(xml);
        const std::vector<std::string> &folders = distribution.componentFolders;
        require(!folders.empty() && folders.size() <= kMaxComponents);
        require(std::set<std::string>(folders.begin(), folders.end()).size() == folders.size());
    } catch (const InstallError &) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    requireSoundInfo(bytes);
    requireSoundDistribution(bytes);
    require(percentDecoded(bytes).size() <= size);
    return 0;
}
