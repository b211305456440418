#include "linux/Client.h"

#include "channel/channel_message.h"
#include "channel/message_keys.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

namespace kyb::helper {
namespace {

/// The property list of a frame.
std::string messageOf(const std::vector<std::pair<std::string, std::string>> &texts) {
    return encodeFrame(texts)->substr(kFrameHeaderBytes);
}

std::string binaryOf(plist_t root) {
    char *bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    std::string text(bytes, length);
    plist_to_bin_free(bytes);
    plist_free(root);
    return text;
}

TEST(Request, IsRead) {
    const auto request = readRequest(messageOf({{kCommandKey, "ls /Applications/"}}));
    ASSERT_TRUE(request);
    EXPECT_EQ(request->commandLine, "ls /Applications/");
    EXPECT_FALSE(request->progressFilePath);
}

TEST(Request, IsReadWithItsProgressFile) {
    const auto request = readRequest(messageOf({{kCommandKey, "true"}, {kInstallerLogPathKey, "/var/tmp/x"}}));
    ASSERT_TRUE(request);
    EXPECT_EQ(request->progressFilePath, "/var/tmp/x");
}

TEST(Request, KeepsTextOfEveryScript) {
    const std::string command = "echo \"Grüße 日本 \U0001F5A8\"";
    EXPECT_EQ(readRequest(messageOf({{kCommandKey, command}}))->commandLine, command);
}

TEST(Request, NeedsACommand) {
    EXPECT_FALSE(readRequest(messageOf({})));
    EXPECT_FALSE(readRequest(messageOf({{"command_to_be_executed", "ls"}})));
}

TEST(Request, NeedsTexts) {
    plist_t number = plist_new_dict();
    plist_dict_set_item(number, kCommandKey, plist_new_uint(1));
    EXPECT_FALSE(readRequest(binaryOf(number)));

    plist_t path = plist_new_dict();
    plist_dict_set_item(path, kCommandKey, plist_new_string("ls"));
    plist_dict_set_item(path, kInstallerLogPathKey, plist_new_bool(1));
    EXPECT_FALSE(readRequest(binaryOf(path)));
}

TEST(Request, NeedsADictionary) {
    EXPECT_FALSE(readRequest(binaryOf(plist_new_array())));
    EXPECT_FALSE(readRequest(binaryOf(plist_new_string("ls"))));
    EXPECT_FALSE(readRequest(""));
    EXPECT_FALSE(readRequest("bplist00"));
    EXPECT_FALSE(readRequest("<plist><dict><key>command_to_be_execute</key><string>ls</string></dict></plist>"));
}

TEST(Request, IsRefusedWithANulInItsText) {
    std::string message = messageOf({{kCommandKey, "ls_rm"}});
    message[message.find("ls_rm") + 2] = '\0';
    EXPECT_FALSE(readRequest(message));
}

TEST(Request, SurvivesEveryTruncationAndEveryFlippedByte) {
    const std::string message = messageOf({{kCommandKey, "ls"}, {kInstallerLogPathKey, "/var/tmp/x"}});
    for (std::size_t size = 0; size < message.size(); ++size) {
        readRequest(message.substr(0, size));
    }
    for (std::size_t at = 0; at < message.size(); ++at) {
        for (int bits = 1; bits < 256; ++bits) {
            std::string changed = message;
            changed[at] = static_cast<char>(changed[at] ^ bits);
            readRequest(changed);
        }
    }
}

} // namespace
} // namespace kyb::helper
