#include "test_package.h"

namespace kyb::macroot {

std::string TestPackage::write(const std::filesystem::path &file) const {
    PayloadWriter scripts;
    scripts.addFile("./preinstall", preinstall, 0755);
    scripts.addFile("./postinstall", postinstall, 0755);
    PayloadWriter files;
    payload(files);
    const UniqueFd scriptsFile = scripts.finish();
    const UniqueFd payloadFile = files.finish();
    writeFlatPackage(file.string(), {{"PackageInfo", packageInfoText({.identifier = identifier,
                                                                      .version = version,
                                                                      .installLocation = installLocation,
                                                                      .payload = files.items()})},
                                     {"Scripts", "", scriptsFile.get()},
                                     {"Payload", "", payloadFile.get()}});
    return file.string();
}

} // namespace kyb::macroot
