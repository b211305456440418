#include "receipt.h"

#include "plist_document.h"

namespace kyb::macroot {

std::string receiptPath(std::string_view identifier) {
    return "var/db/receipts/" + std::string(identifier) + ".plist";
}

std::string receiptText(const Receipt &receipt) {
    const Plist root(plist_new_dict());
    const auto set = [&root](const char *key, const std::string &text) {
        plist_dict_set_item(root.get(), key, plist_new_string(text.c_str()));
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
