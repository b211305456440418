#include "linux/request.h"

#include "channel/channel_message.h"
#include "channel/message_keys.h"

namespace kyb::helper {

std::optional<Request> readRequest(std::string_view propertyList) {
    const std::optional<ChannelMessage> message = decodeMessage(propertyList);
    if (!message) {
        return {};
    }
    const auto command = message->find(kCommandKey);
    if (command == message->end() || !command->second) {
        return {};
    }
    const auto path = message->find(kInstallerLogPathKey);
    if (path != message->end() && !path->second) {
        return {};
    }
    return Request{.commandLine = *command->second,
                   .progressFilePath = path != message->end() ? path->second : std::nullopt};
}

} // namespace kyb::helper
