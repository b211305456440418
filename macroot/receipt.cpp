#include "receipt.h"

#include "plist_value.h"

#include <algorithm>

namespace kyb::macroot {
namespace {

/// What a package or its file is called may be anything.
std::string listText(std::string text) {
    if (!isListText(text)) {
        std::ranges::replace_if(
            text, [](unsigned char c) { return c < 0x20 || c > 0x7e; }, '?');
    }
    return text;
}

} // namespace

std::string receiptPath(std::string_view identifier) {
    return "var/db/receipts/" + std::string(identifier) + ".plist";
}

std::string receiptText(const Receipt &receipt) {
    const Plist root(plist_new_dict());
    const auto set = [&root](const char *key, const std::string &text) {
        plist_dict_set_item(root.get(), key, plist_new_string(listText(text).c_str()));
    };
    plist_dict_set_item(root.get(), "InstallDate", newDateNode(receipt.installedAt));
    set("InstallPrefixPath", receipt.prefixPath);
    set("InstallProcessName", "installer");
    set("PackageFileName", receipt.packageFileName);
    set("PackageIdentifier", receipt.identifier);
    set("PackageVersion", receipt.version);
    return plistToText(root.get(), PlistFormat::Xml);
}

} // namespace kyb::macroot
