// A package of any content is read as the installer reads one before it writes anything.

#include "flat_package.h"
#include "install_error.h"
#include "package_writer.h"
#include "payload.h"
#include "promise.h"

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

using namespace kyb::macroot;

namespace {

void readThrough(const std::string &path) {
    const FlatPackage package(path);
    PayloadList list;
    for (const char *const name : {"Scripts", "Payload"}) {
        package.eachArchive(name, [&](const Component &component, archive *reader) {
            scanPayload(reader, component.info.installLocation, list, [](std::size_t) {});
        });
    }
    for (const auto &[itemPath, item] : list.items()) {
        require(!itemPath.empty() && staysBelow(itemPath));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const kyb::UniqueFd file = unnamedFile();
    if (::write(file.get(), data, size) != static_cast<ssize_t>(size)) {
        return 0;
    }
    try {
        readThrough("/proc/self/fd/" + std::to_string(file.get()));
    } catch (const NotAPackage &) {
    } catch (const InstallError &) {
    }
    return 0;
}
