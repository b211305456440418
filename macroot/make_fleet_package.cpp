// make_fleet_package OUT --bundle FOLDER --driver FOLDER --version V [--folder WHERE] [--job FILE]
//
// Makes the package that sets up a Mac without a user: see tools/make-fleet-package.

#include "mach_section.h"
#include "package_maker.h"
#include "package_writer.h"
#include "payload_path.h"
#include "plist_document.h"
#include "posix/file_io.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

namespace fs = std::filesystem;
using kyb::Plist;
using kyb::UniqueFd;
using namespace kyb::macroot;

constexpr const char *kIdentifier = "com.kyb.BrelundQuorlixInstaller.Fleet";
constexpr const char *kHelperLabel = "com.kyb.InstallerHelperTool";
constexpr const char *kHelperInBundle = "Contents/Library/LaunchServices/com.kyb.InstallerHelperTool";
constexpr const char *kHelperPlace = "/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool";
constexpr const char *kJobPlace = "/Library/LaunchDaemons/com.kyb.InstallerHelperTool.plist";
constexpr mode_t kHelperMode = 0544; // as registration leaves it: root alone runs it
constexpr std::array kDriverFiles{"Brelund Quorlix Driver.pkg", "macver.list"};
/// Where, on every Mac, only administrators can write.
constexpr std::array kSafeFolders{"Library/", "Applications/"};
/// Folders there that are open to everybody, or the helper's and its job's. A Mac's volume ignores case.
constexpr std::array kOtherFolders{"library/caches/", "library/privilegedhelpertools/", "library/launchdaemons/"};

struct Order {
    std::string output;
    std::string bundle;
    std::string driver;
    std::string version;
    std::string folder = "/Library/Application Support/Brelund Quorlix Installer";
    std::string job;
};

constexpr auto kOptions = std::to_array<std::pair<std::string_view, std::string Order::*>>({
    {"--bundle", &Order::bundle},
    {"--driver", &Order::driver},
    {"--version", &Order::version},
    {"--folder", &Order::folder},
    {"--job", &Order::job},
});

bool takeOption(Order &order, const std::string &option, const std::string &value) {
    const auto row = std::ranges::find(kOptions, option, &std::pair<std::string_view, std::string Order::*>::first);
    if (row == kOptions.end() || value.empty()) {
        return false;
    }
    order.*row->second = value;
    return true;
}

void require(bool isRight, const std::string &otherwise) {
    if (!isRight) {
        throw std::runtime_error(otherwise);
    }
}

/// Whether there are only letters, digits and \p others in it.
bool isPlain(std::string_view text, std::string_view others) {
    return std::ranges::all_of(text, [&](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               others.find(c) != std::string_view::npos;
    });
}

bool isForOthers(std::string path) {
    std::ranges::transform(path, path.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::ranges::any_of(kOtherFolders, [&](const char *other) { return (path + '/').starts_with(other); });
}

/// The place of a folder of the Mac in a payload: "./...".
std::string placeOf(const std::string &folder) {
    const std::optional<std::string> path = payloadPath('.' + folder);
    require(folder.starts_with('/') && path, "--folder is no absolute path without \"..\": " + folder);
    // NB: the program puts its package's path between double quotes for root's shell, with nothing escaped.
    require(isPlain(folder, " ._-/"),
            "--folder needs quoting in a shell; use letters, digits, blanks and ._-: " + folder);
    const bool isSafe = std::ranges::any_of(kSafeFolders, [&](const char *safe) { return path->starts_with(safe); });
    require(isSafe && !isForOthers(*path),
            "--folder must lie below /Library or /Applications, and not where others put things: " + folder);
    return "./" + *path;
}

// A link that leads out of the bundle would let others decide what the program loads; files beginning with "._" hold
// what the Finder knows of another one, and break the signature.
void checkBundle(const fs::path &bundle) {
    require(fs::is_regular_file(bundle / "Contents/Info.plist"), "no application bundle: " + bundle.string());
    require(fs::is_regular_file(bundle / kHelperInBundle),
            "no helper in the bundle: " + (bundle / kHelperInBundle).string());
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(bundle)) {
        const std::string path = entry.path().lexically_relative(bundle).string();
        const bool leadsOut = entry.is_symlink() && !linkStaysBelowRoot(path, fs::read_symlink(entry.path()).string());
        require(!leadsOut, "a link leads out of the bundle: " + entry.path().string());
        require(!leafName(path).starts_with("._"), "a leftover of copying is in the bundle: " + entry.path().string());
    }
}

std::string contentOf(const fs::path &path) {
    const std::optional<std::string> content =
        kyb::readAll(kyb::openRegularFile(path.string(), O_RDONLY).get(), kyb::kNoLimit);
    return content ? *content : throw std::runtime_error("no file that can be read: " + path.string());
}

/// The job as the helper's linker put it into the helper, or as a file has it.
std::string embeddedJob(const fs::path &helper, const std::string &file) {
    if (!file.empty()) {
        return contentOf(file);
    }
    const std::string program = contentOf(helper);
    const std::optional<std::string_view> section = machSection(program, "__TEXT", "__launchd_plist");
    require(section.has_value(), "no program for macOS with a job in it: " + helper.string());
    return std::string(*section);
}

/// The job as registration writes it: with the program's place.
std::string installedJob(const std::string &embedded) {
    const Plist job = plistFromText(embedded);
    plist_t label = plist_dict_get_item(job.get(), "Label");
    require(label != nullptr && plist_string_val_compare(label, kHelperLabel) == 0,
            std::string("the helper's job is not that of ") + kHelperLabel);
    plist_t arguments = plist_new_array();
    plist_array_append_item(arguments, plist_new_string(kHelperPlace));
    plist_dict_set_item(job.get(), "Program", plist_new_string(kHelperPlace));
    plist_dict_set_item(job.get(), "ProgramArguments", arguments);
    return plistToText(job.get(), PlistFormat::Xml);
}

/// Adds a folder with those above it, each once.
void addFolders(PayloadWriter &payload, const std::string &place) {
    if (std::ranges::find(payload.items(), place, &BomItem::path) == payload.items().end()) {
        if (place != ".") {
            addFolders(payload, std::string(parentPath(place)));
        }
        payload.addFolder(place);
    }
}

void fillPayload(PayloadWriter &payload, const Order &order) {
    checkBundle(order.bundle);
    const fs::path bundle = fs::canonical(order.bundle);
    const std::string folder = placeOf(order.folder);
    const std::string job = installedJob(embeddedJob(bundle / kHelperInBundle, order.job));
    for (const std::string &place : {std::string("./Library/PrivilegedHelperTools"),
                                     std::string("./Library/LaunchDaemons"), folder, folder + "/OSX"}) {
        addFolders(payload, place);
    }
    payload.addFileFrom(bundle / kHelperInBundle, std::string(".") + kHelperPlace, kHelperMode);
    payload.addFile(std::string(".") + kJobPlace, job);
    for (const char *const name : kDriverFiles) {
        payload.addFileFrom(fs::path(order.driver) / name, folder + "/OSX/" + name, 0644);
    }
    payload.addTree(bundle, folder + '/' + bundle.filename().string());
}

UniqueFd makeScripts(const fs::path &postinstall) {
    PayloadWriter scripts;
    scripts.addFolder(".");
    scripts.addFileFrom(postinstall, "./postinstall", 0755);
    return scripts.finish();
}

void makePackage(const fs::path &sources, const Order &order) {
    require(isPlain(order.version, " ._-"), "--version has other characters than letters, digits, blanks and ._-");
    PayloadWriter payload;
    fillPayload(payload, order);
    const UniqueFd payloadFile = payload.finish();
    const UniqueFd scripts = makeScripts(sources / "postinstall");
    const PackageDescription description{
        .identifier = kIdentifier, .version = order.version, .payload = payload.items(), .scripts = {"postinstall"}};
    writeFlatPackage(order.output, {
                                       {"PackageInfo", packageInfoText(description)},
                                       {"Bom", bomText(payload.items())},
                                       {"Scripts", "", scripts.get()},
                                       {"Payload", "", payloadFile.get()},
                                   });
}

} // namespace

int main(int argc, char **argv) {
    Order order;
    const bool isUnderstood = takeWords(
        {argv, static_cast<std::size_t>(argc)}, order.output,
        [&](const std::string &option, const std::string &value) { return takeOption(order, option, value); });
    if (!isUnderstood || order.bundle.empty() || order.driver.empty() || order.version.empty()) {
        return refuseWords("make_fleet_package OUT --bundle FOLDER --driver FOLDER --version V [--folder WHERE] "
                           "[--job FILE]");
    }
    return makePackageFile("make_fleet_package", [&](const fs::path &folder) { makePackage(folder / "fleet", order); });
}
