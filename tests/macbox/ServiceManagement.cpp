#include "CoreFoundation.h"
#include "box.h"
#include "job.h"
#include "signature.h"
#include "wire.h"

#include <ServiceManagement/ServiceManagement.h>
#include <filesystem>

// SMJobBless. Its page in the developer documentation promises: the helper lies in the bundle's Contents/Library/
// LaunchServices under its label; it holds its own property list and its job's; each of the two programs satisfies what
// the other requires of it; true for a job that is installed already. Whether its helper is replaced then is not said:
// Macs were seen to do so when the new one's version is higher, and that is what the box does unless it is told
// otherwise.

namespace {

namespace fs = std::filesystem;
using macbox::Signature;
using macbox::Texts;

/// The "Contents" of the program's bundle.
fs::path contents() {
    return fs::read_symlink("/proc/self/exe").parent_path().parent_path();
}

fs::path installedTool(const std::string &label) {
    return macbox::root() + "/Library/PrivilegedHelperTools/" + label;
}

bool meets(const Texts &facts, const std::string &requirement) {
    const auto read = macbox::readRequirement(requirement);
    return read && satisfies(facts, *read);
}

/// SMPrivilegedExecutables of the program: what each helper must satisfy, by label. SMAuthorizedClients of the helper:
/// what one of its clients must satisfy.
bool trustEachOther(const std::string &label, const Signature &tool) {
    const auto application = macbox::signatureOf("/proc/self/exe");
    const Texts wanted = macbox::dictionaryIn(macbox::contentOf(contents() / "Info.plist"), "SMPrivilegedExecutables");
    if (!application || wanted.count(label) == 0 || !meets(tool.facts, wanted.at(label))) {
        return false;
    }
    for (const std::string &client : macbox::textsIn(tool.sections.at("__info_plist"), "SMAuthorizedClients")) {
        if (meets(application->facts, client)) {
            return true;
        }
    }
    return false;
}

std::string versionOf(const Signature &tool) {
    return macbox::textIn(tool.sections.at("__info_plist"), "CFBundleVersion").value_or("");
}

/// Whether the helper that is there stays.
bool isInstalled(const std::string &label, const Signature &tool) {
    if (macbox::isSet("bless", "loaded")) {
        return macbox::askLaunchd(macbox::root(), {"is loaded", label}).has_value();
    }
    const auto installed = macbox::signatureOf(installedTool(label));
    return installed && !macbox::isSet("bless", "always") && macbox::isNotBelow(versionOf(*installed), versionOf(tool));
}

/// Whole or not at all, as the page leaves open. NB: the system does this in a process of its own; here the program may
/// be killed meanwhile, so the helper comes last.
bool install(const std::string &label, const fs::path &source) {
    macbox::askLaunchd(macbox::root(), {"unload", label});
    std::error_code error;
    const fs::path tool = installedTool(label);
    const fs::path unfinished = tool.string() + ".new";
    fs::create_directories(tool.parent_path(), error);
    fs::remove(tool, error);
    if (!fs::copy_file(source, unfinished, fs::copy_options::overwrite_existing, error) ||
        !macbox::installJob(macbox::root(), label, source)) {
        fs::remove(unfinished, error);
        return false;
    }
    fs::permissions(unfinished, fs::perms(0544), error);
    fs::rename(unfinished, tool, error);
    return !error;
}

bool isWellFormed(const std::string &label, const Signature &tool) {
    return tool.sections.count("__info_plist") == 1 && tool.sections.count("__launchd_plist") == 1 &&
           macbox::textIn(tool.sections.at("__launchd_plist"), "Label") == label;
}

bool bless(const std::string &label) {
    const fs::path source = contents() / "Library/LaunchServices" / label;
    const auto tool = macbox::signatureOf(source);
    if (macbox::isSet("bless", "fails") || !tool || !isWellFormed(label, *tool) || !trustEachOther(label, *tool)) {
        return false;
    }
    return isInstalled(label, *tool) ? macbox::askLaunchd(macbox::root(), {"load", macbox::jobList(label)}).has_value()
                                     : install(label, source);
}

} // namespace

extern "C" {

const CFStringRef kSMDomainUserLaunchd =
    CFStringCreateWithCString(nullptr, "kSMDomainUserLaunchd", kCFStringEncodingUTF8);
const CFStringRef kSMDomainSystemLaunchd =
    CFStringCreateWithCString(nullptr, "kSMDomainSystemLaunchd", kCFStringEncodingUTF8);

/// Promise: a failure leaves an error, which the caller owns, in the slot, unless there is none.
Boolean SMJobBless(CFStringRef domain, CFStringRef executableLabel, AuthorizationRef authorization, CFErrorRef *error) {
    const std::string label = macbox::text(executableLabel);
    macbox::record("SMJobBless domain=" + macbox::text(domain) + " label=" + label + " authorization=" +
                   (authorization == nullptr ? "null" : "set") + " error=" + (error == nullptr ? "null" : "set"));
    const bool isBlessed = authorization != nullptr && domain == kSMDomainSystemLaunchd && bless(label);
    if (!isBlessed && error != nullptr) {
        *error = reinterpret_cast<CFErrorRef>(const_cast<void *>(macbox::makeOther()));
    }
    return isBlessed;
}

} // extern "C"
