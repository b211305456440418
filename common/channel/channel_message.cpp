#include "channel/channel_message.h"

#include "posix/Plist.h"
#include "posix/plist_guard.h"

#include <cstdint>
#include <memory>

namespace kyb {
namespace {

Plist parsed(std::string_view propertyList) {
    if (plist_is_binary(propertyList.data(), static_cast<std::uint32_t>(propertyList.size())) == 0 ||
        !isSafeForLibplist(propertyList)) {
        return nullptr;
    }
    plist_t root = nullptr;
    plist_from_bin(propertyList.data(), static_cast<std::uint32_t>(propertyList.size()), &root);
    return Plist(root);
}

std::optional<std::string> textOf(plist_t node) {
    if (plist_get_node_type(node) != PLIST_STRING) {
        return {};
    }
    std::uint64_t length = 0;
    const char *text = plist_get_string_ptr(node, &length);
    return text != nullptr ? std::string(text, length) : std::string();
}

std::string header(std::size_t length) {
    std::string bytes;
    for (unsigned shift = 8 * kFrameHeaderBytes; shift > 0; shift -= 8) {
        bytes.push_back(static_cast<char>(length >> (shift - 8) & 0xFF));
    }
    return bytes;
}

} // namespace

std::optional<std::string> encodeFrame(const std::vector<std::pair<std::string, std::string>> &texts) {
    const Plist dictionary(plist_new_dict());
    for (const auto &[key, text] : texts) {
        plist_dict_set_item(dictionary.get(), key.c_str(), plist_new_string(text.c_str()));
    }
    char *bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(dictionary.get(), &bytes, &length);
    const std::unique_ptr<char, PlistFree> owner(bytes);
    if (bytes == nullptr || length > kMaxMessageBytes) {
        return {};
    }
    return header(length).append(bytes, length);
}

std::optional<ChannelMessage> decodeMessage(std::string_view propertyList) {
    const Plist root = parsed(propertyList);
    if (root == nullptr || plist_get_node_type(root.get()) != PLIST_DICT) {
        return {};
    }
    ChannelMessage message;
    eachEntry(root.get(), [&](const char *key, plist_t node) { message.insert_or_assign(key, textOf(node)); });
    return message;
}

} // namespace kyb
