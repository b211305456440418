#include "package_info.h"

#include "install_error.h"
#include "payload_path.h"

#include <algorithm>
#include <charconv>
#include <pugixml.hpp>

namespace kyb::macroot {
namespace {

pugi::xml_document parsed(std::string_view xml, const char *what) {
    pugi::xml_document document;
    if (const auto result = document.load_buffer(xml.data(), xml.size()); !result) {
        throw InstallError(std::string("The package's ") + what + " cannot be read: " + result.description());
    }
    return document;
}

std::string pathAttribute(const pugi::xml_node &node, const char *name) {
    const std::string_view raw = node.attribute(name).as_string();
    if (raw.empty()) {
        return {};
    }
    const std::optional<std::string> path = payloadPath(raw);
    if (!path) {
        throw InstallError("The package names a path outside of its place: " + std::string(raw));
    }
    return *path;
}

// NB: the leading slash of an install location means the target, so here, and only here, it is allowed.
std::string installLocation(const pugi::xml_node &info) {
    const std::string_view raw = info.attribute("install-location").as_string();
    const std::optional<std::string> path = payloadPath("./" + std::string(raw));
    if (!path) {
        throw InstallError("The package names an install location outside of the target: " + std::string(raw));
    }
    return *path;
}

// The identifier becomes a file name below /var/db/receipts.
bool isReceiptName(std::string_view identifier) {
    const auto allowed = [](unsigned char c) { return c > 0x20 && c != '/' && c != 0x7f; };
    return !identifier.empty() && identifier.size() <= 200 && identifier.front() != '.' &&
           std::all_of(identifier.begin(), identifier.end(), allowed);
}

void addComponent(std::vector<std::string> &folders, const std::string &folder) {
    if (folders.size() == kMaxComponents) {
        throw InstallError("The package's Distribution names too many components");
    }
    if (std::ranges::find(folders, folder) != folders.end()) {
        throw InstallError("The package's Distribution names the component " + folder + " twice");
    }
    folders.push_back(folder);
}

} // namespace

PackageInfo parsePackageInfo(std::string_view xml) {
    const pugi::xml_document document = parsed(xml, "PackageInfo");
    const pugi::xml_node info = document.child("pkg-info");
    const pugi::xml_node scripts = info.child("scripts");
    PackageInfo result;
    result.identifier = info.attribute("identifier").as_string();
    result.version = info.attribute("version").as_string();
    if (!isReceiptName(result.identifier)) {
        throw InstallError("The package's identifier is not usable: '" + result.identifier + "'");
    }
    result.installLocation = installLocation(info);
    result.preinstall = pathAttribute(scripts.child("preinstall"), "file");
    result.postinstall = pathAttribute(scripts.child("postinstall"), "file");
    return result;
}

Distribution parseDistribution(std::string_view xml) {
    const pugi::xml_document document = parsed(xml, "Distribution");
    pugi::xml_node root = document.child("installer-gui-script");
    if (!root) {
        root = document.child("installer-script");
    }
    Distribution result;
    result.title = root.child("title").text().as_string();
    for (const pugi::xml_node &reference : root.children("pkg-ref")) {
        // A reference without a text only adds attributes to one that has it.
        if (const std::string_view text = reference.text().as_string(); text.starts_with('#')) {
            addComponent(result.componentFolders, percentDecoded(text.substr(1)));
        }
    }
    if (result.componentFolders.empty()) {
        throw InstallError("The package's Distribution names no component");
    }
    return result;
}

std::string percentDecoded(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned char byte = 0;
        const std::string_view digits = text.substr(i).substr(0, 3);
        const char *end = digits.data() + digits.size();
        const bool escape =
            digits.size() == 3 && digits[0] == '%' && std::from_chars(digits.data() + 1, end, byte, 16).ptr == end;
        decoded += escape ? static_cast<char>(byte) : text[i];
        i += escape ? 2 : 0;
    }
    return decoded;
}

} // namespace kyb::macroot
