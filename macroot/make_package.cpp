// make_package OUT --version V [--size BYTES] [--files COUNT] [--fail preinstall|postinstall|payload] [--name NAME]
//
// Makes the sample driver package out of the folder "package" beside this program.

#include "package_maker.h"
#include "package_writer.h"

#include <charconv>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <sys/stat.h>

namespace {

using kyb::UniqueFd;
using namespace kyb::macroot;

constexpr const char *kIdentifier = "com.Brelund.QuorlixInstaller";
constexpr std::int64_t kExtraFileBytes = 700;
constexpr std::string_view kResourcesFolder = "./Library/Printers/BrelundQuorlix/Resources/";

struct Order {
    std::string file;
    std::string version;
    std::string name = "Brelund Quorlix Driver";
    std::string failing; ///< "preinstall", "postinstall", "payload" or ""
    std::int64_t extraBytes = 0;
    std::int64_t extraFiles = 0;
};

bool isNumber(const std::string &text, std::int64_t &number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number >= 0;
}

bool takeOption(Order &order, const std::string &option, const std::string &value) {
    if (option == "--version" || option == "--name") {
        (option == "--version" ? order.version : order.name) = value;
        return !value.empty() && value.find('/') == std::string::npos;
    }
    if (option == "--size") {
        return isNumber(value, order.extraBytes);
    }
    if (option == "--files") {
        return isNumber(value, order.extraFiles);
    }
    order.failing = value;
    return option == "--fail" && (value == "preinstall" || value == "postinstall" || value == "payload");
}

UniqueFd makeScripts(const std::filesystem::path &sources, const Order &order) {
    PayloadWriter scripts;
    scripts.addFolder(".");
    for (const std::string name : {"preinstall", "postinstall"}) {
        scripts.addFileFrom(sources / "scripts" / (order.failing == name ? "fail" : name), "./" + name, 0755);
    }
    return scripts.finish();
}

void fillPayload(PayloadWriter &payload, const std::filesystem::path &sources, const Order &order) {
    payload.addTree(sources / "payload", ".");
    payload.addFile(std::string(kResourcesFolder) + "version.txt", order.version + "\n");
    if (order.extraBytes > 0) {
        payload.addRandomFile(std::string(kResourcesFolder) + "halftones.bin", order.extraBytes);
    }
    for (std::int64_t number = 1; number <= order.extraFiles; ++number) {
        payload.addRandomFile(std::string(kResourcesFolder) + "Halftones/" + std::to_string(number), kExtraFileBytes);
    }
}

void cutOff(const UniqueFd &file) {
    struct stat found = {};
    if (fstat(file.get(), &found) != 0 || ftruncate(file.get(), found.st_size / 2) != 0) {
        throw std::runtime_error("the payload cannot be cut off");
    }
}

void makePackage(const std::filesystem::path &sources, const Order &order) {
    const std::string component = order.name + ".pkg";
    const UniqueFd scripts = makeScripts(sources, order);
    PayloadWriter payload;
    fillPayload(payload, sources, order);
    const UniqueFd payloadFile = payload.finish();
    if (order.failing == "payload") {
        cutOff(payloadFile);
    }
    const PackageDescription description{
        .identifier = kIdentifier, .version = order.version, .payload = payload.items()};
    writeFlatPackage(order.file,
                     {
                         {"Distribution", distributionText(order.name, kIdentifier, order.version, component)},
                         {component + "/PackageInfo", packageInfoText(description)},
                         {component + "/Scripts", "", scripts.get()},
                         {component + "/Payload", "", payloadFile.get()},
                     });
}

} // namespace

int main(int argc, char **argv) {
    Order order;
    const bool isUnderstood = takeWords(
        {argv, static_cast<std::size_t>(argc)}, order.file,
        [&](const std::string &option, const std::string &value) { return takeOption(order, option, value); });
    if (!isUnderstood || order.version.empty()) {
        return refuseWords("make_package OUT --version V [--size BYTES] [--files COUNT] "
                           "[--fail preinstall|postinstall|payload] [--name NAME]");
    }
    return makePackageFile("make_package",
                           [&](const std::filesystem::path &folder) { makePackage(folder / "package", order); });
}
