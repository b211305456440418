#include "job.h"

#include "posix/Plist.h"
#include "wire.h"

#include <filesystem>
#include <fstream>

namespace macbox {
namespace {

/// The embedded list, with where the program lies.
std::string jobOf(const std::string &embedded, const std::string &program) {
    plist_t root = nullptr;
    plist_from_memory(embedded.data(), static_cast<std::uint32_t>(embedded.size()), &root);
    const kyb::Plist list(root);
    const plist_t arguments = plist_new_array();
    plist_array_append_item(arguments, plist_new_string(program.c_str()));
    plist_dict_set_item(root, "Program", plist_new_string(program.c_str()));
    plist_dict_set_item(root, "ProgramArguments", arguments);
    char *xml = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(root, &xml, &length);
    const std::string text(xml, length);
    std::free(xml);
    return text;
}

} // namespace

std::string jobList(const std::string &label) {
    return "/Library/LaunchDaemons/" + label + ".plist";
}

bool installJob(const std::string &root, const std::string &label, const std::string &program) {
    const std::optional<Signature> tool = signatureOf(program);
    if (!tool || tool->sections.count("__launchd_plist") == 0) {
        return false;
    }
    const std::string file = root + jobList(label);
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream(file) << jobOf(tool->sections.at("__launchd_plist"), "/Library/PrivilegedHelperTools/" + label);
    return askLaunchd(root, {"load", jobList(label)}).has_value();
}

} // namespace macbox
