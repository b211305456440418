// make_package OUT --version V [--size BYTES] [--files COUNT] [--fail preinstall|postinstall|payload] [--name NAME]
//
// Makes the sample driver package out of the folder "package" beside this program.

#include "package_writer.h"

#include <charconv>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <sys/stat.h>

namespace {

using kyb::UniqueFd;
using namespace kyb::macroot;

constexpr std::string_view kIdentifier = "com.Brelund.QuorlixInstaller";
constexpr std::int64_t kExtraFileBytes = 700;
constexpr std::string_view kResourcesFolder = "./Library/Printers/BrelundQuorlix/Resources/";

struct Order {
    std::string file;
    std::string version;
    std::string name = "Brelund Quorlix Driver";
    std::string failing; ///< "preinstall", "postinstall", "payload" or ""
    std::int64_t extraBytes = 0;
    std::int64_t extraFiles = 0;

    std::int64_t addedBytes() const { return extraBytes + extraFiles * kExtraFileBytes; }
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

std::optional<Order> parseOrder(std::span<char *> words) {
    Order order;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::string word = words[i];
        if (!word.starts_with("--") && order.file.empty()) {
            order.file = word;
        } else if (i + 1 >= words.size() || !takeOption(order, word, words[++i])) {
            return std::nullopt;
        }
    }
    return order.file.empty() || order.version.empty() ? std::nullopt : std::optional(order);
}

std::string textOf(const std::filesystem::path &file) {
    std::ifstream stream(file, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    return stream ? text : throw std::runtime_error(file.string() + " cannot be read");
}

UniqueFd makeScripts(const std::filesystem::path &sources, const Order &order) {
    PayloadWriter scripts;
    scripts.addFolder(".");
    for (const char *const name : {"preinstall", "postinstall"}) {
        const bool failing = order.failing == name;
        scripts.addFile(std::string("./") + name, textOf(sources / "scripts" / (failing ? "fail" : name)), 0755);
    }
    return scripts.finish();
}

UniqueFd makePayload(const std::filesystem::path &sources, const Order &order) {
    PayloadWriter payload;
    payload.addTree(sources / "payload");
    payload.addFile(std::string(kResourcesFolder) + "version.txt", order.version + "\n");
    if (order.extraBytes > 0) {
        payload.addRandomFile(std::string(kResourcesFolder) + "halftones.bin", order.extraBytes);
    }
    for (std::int64_t number = 1; number <= order.extraFiles; ++number) {
        payload.addRandomFile(std::string(kResourcesFolder) + "Halftones/" + std::to_string(number), kExtraFileBytes);
    }
    UniqueFd file = payload.finish();
    struct stat found = {};
    if (order.failing == "payload" &&
        (fstat(file.get(), &found) != 0 || ftruncate(file.get(), found.st_size / 2) != 0)) {
        throw std::runtime_error("the payload cannot be cut off");
    }
    return file;
}

void makePackage(const std::filesystem::path &sources, const Order &order) {
    const std::string component = order.name + ".pkg";
    const UniqueFd scripts = makeScripts(sources, order);
    const UniqueFd payload = makePayload(sources, order);
    writeFlatPackage(order.file,
                     {
                         {"Distribution", distributionText(order.name, kIdentifier, order.version, component)},
                         {component + "/PackageInfo", packageInfoText(kIdentifier, order.version, order.addedBytes())},
                         {component + "/Scripts", "", scripts.get()},
                         {component + "/Payload", "", payload.get()},
                     });
}

} // namespace

int main(int argc, char **argv) {
    std::setlocale(LC_CTYPE, "C.UTF-8"); // libarchive takes names in this character set
    std::signal(SIGXFSZ, SIG_IGN);       // a file that may not grow is an error as any other
    const std::optional<Order> order = parseOrder({argv, static_cast<std::size_t>(argc)});
    if (!order) {
        std::fputs("Usage: make_package OUT --version V [--size BYTES] [--files COUNT] "
                   "[--fail preinstall|postinstall|payload] [--name NAME]\n",
                   stderr);
        return 1;
    }
    try {
        makePackage(std::filesystem::read_symlink("/proc/self/exe").parent_path() / "package", *order);
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "make_package: %s\n", error.what());
        return 1;
    }
}
