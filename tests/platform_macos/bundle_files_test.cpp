#include "channel/message_keys.h"
#include "code_requirement.h"
#include "posix/Plist.h"

#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <sstream>
#include <string>

using kyb::Plist;
using testing::ElementsAre;

namespace {

std::string content(const std::string &path) {
    std::ifstream file(path);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

Plist read(const std::string &path) {
    const std::string bytes = content(path);
    plist_t root = nullptr;
    plist_from_xml(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    EXPECT_NE(root, nullptr) << path;
    return Plist(root);
}

Plist generated(const char *name) {
    return read(std::string(KYB_BUNDLE_FILES) + "/" + name);
}

std::string text(plist_t node) {
    EXPECT_EQ(plist_get_node_type(node), PLIST_STRING);
    return plist_get_string_ptr(node, nullptr);
}
std::string text(const Plist &list, const char *key) {
    return text(plist_dict_get_item(list.get(), key));
}
bool truth(plist_t node) {
    EXPECT_EQ(plist_get_node_type(node), PLIST_BOOLEAN);
    std::uint8_t value = 0;
    plist_get_bool_val(node, &value);
    return value != 0;
}

std::string requirementOf(const char *identifier) {
    return "anchor apple generic and identifier \"" + std::string(identifier) +
           "\" and certificate 1[field.1.2.840.113635.100.6.2.6] and certificate "
           "leaf[field.1.2.840.113635.100.6.1.13] and certificate leaf[subject.OU] = \"AB12CD34EF\"";
}

/// What the helper requires of a client: the application, of the oldest version that may use it.
std::string clientRequirement() {
    return requirementOf("com.kyb.BrelundQuorlixInstaller") + " and info[CFBundleVersion] >= \"1.0.0\"";
}

TEST(BundleFiles, TheApplicationSaysWhatItIs) {
    const Plist info = generated("Info.plist");
    EXPECT_EQ(text(info, "CFBundleIdentifier"), "com.kyb.BrelundQuorlixInstaller");
    EXPECT_EQ(text(info, "CFBundleExecutable"), "BrelundQuorlixInstaller");
    EXPECT_EQ(text(info, "CFBundlePackageType"), "APPL");
    EXPECT_EQ(text(info, "CFBundleIconFile"), "AppIcon");
    EXPECT_EQ(text(info, "CFBundleShortVersionString"), "1.0.0");
    EXPECT_EQ(text(info, "CFBundleVersion"), "1.0.0");
    EXPECT_EQ(text(info, "LSMinimumSystemVersion"), "11.0");
    EXPECT_TRUE(truth(plist_dict_get_item(info.get(), "NSHighResolutionCapable")));
    EXPECT_FALSE(truth(plist_dict_get_item(info.get(), "NSRequiresAquaSystemAppearance")));
    plist_t languages = plist_dict_get_item(info.get(), "CFBundleLocalizations");
    ASSERT_EQ(plist_array_get_size(languages), 2U);
    EXPECT_EQ(text(plist_array_get_item(languages, 0)), "en");
    EXPECT_EQ(text(plist_array_get_item(languages, 1)), "de");
}

TEST(BundleFiles, TheApplicationRequiresTheHelperOfItsOwnTeam) {
    const Plist info = generated("Info.plist");
    plist_t helpers = plist_dict_get_item(info.get(), "SMPrivilegedExecutables");
    ASSERT_EQ(plist_dict_get_size(helpers), 1U);
    EXPECT_EQ(text(plist_dict_get_item(helpers, kyb::kHelperLabel)), requirementOf(kyb::kHelperLabel));
}

TEST(BundleFiles, TheHelperRequiresTheApplicationOfItsOwnTeam) {
    const Plist info = generated("HelperInfo.plist");
    EXPECT_EQ(text(info, "CFBundleIdentifier"), kyb::kHelperLabel);
    EXPECT_EQ(text(info, "LSMinimumSystemVersion"), "11.0");
    plist_t clients = plist_dict_get_item(info.get(), "SMAuthorizedClients");
    ASSERT_EQ(plist_array_get_size(clients), 1U);
    EXPECT_EQ(text(plist_array_get_item(clients, 0)), clientRequirement());
    EXPECT_EQ(kyb::kClientRequirement, clientRequirement()) << "asked of each client, too";
}

TEST(BundleFiles, TheHelpersVersionIsTheOneThatFollowsItsContent) {
    std::istringstream lines(content(KYB_HELPER_VERSION_FILE));
    std::string version;
    ASSERT_TRUE(std::getline(lines, version));
    EXPECT_EQ(text(generated("HelperInfo.plist"), "CFBundleVersion"), version);
    EXPECT_GT(std::stoi(version), 1) << "there are helpers of the version 1.0.0";
    EXPECT_EQ(std::to_string(std::stoi(version)), version);
}

TEST(BundleFiles, TheJobPublishesTheServiceWhichIsNotItsLabel) {
    const Plist job = generated("launchd.plist");
    EXPECT_EQ(text(job, "Label"), kyb::kHelperLabel);
    plist_t services = plist_dict_get_item(job.get(), "MachServices");
    ASSERT_EQ(plist_dict_get_size(services), 1U);
    EXPECT_TRUE(truth(plist_dict_get_item(services, kyb::kHelperServiceName)));
    EXPECT_STRNE(kyb::kHelperLabel, kyb::kHelperServiceName);
}

TEST(BundleFiles, TheHelpersLogIsKeptWhereOnlyRootCanWrite) {
    EXPECT_EQ(text(generated("launchd.plist"), "StandardErrorPath"), "/var/log/com.kyb.InstallerHelperTool.log");
}

TEST(BundleFiles, TheHardenedRuntimeHasNoExceptions) {
    for (const char *name : {"app.entitlements", "helper.entitlements"}) {
        const Plist entitlements = read(std::string(KYB_BUNDLE_SOURCES) + "/" + name);
        ASSERT_EQ(plist_get_node_type(entitlements.get()), PLIST_DICT);
        EXPECT_EQ(plist_dict_get_size(entitlements.get()), 0U) << name;
    }
}

} // namespace
