#include "linux/Client.h"

#include "channel/channel_message.h"
#include "channel/message_keys.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>

namespace kyb::helper {

Client::State Client::read() {
    while (frame_.missingBytes() > 0) {
        if (const std::optional<State> state = readOnce()) {
            return *state;
        }
    }
    return frame_.state() == FrameReader::State::Complete ? State::Complete : State::Broken;
}

std::optional<Client::State> Client::readOnce() {
    std::array<char, 16384> chunk; // NB: not cleared; only what was received is looked at
    const std::size_t missing = frame_.missingBytes();
    const bool isMessage = frame_.state() == FrameReader::State::Message;
    const bool isLastByte = isMessage && missing == 1; // it is looked at and left, see takeLastByte
    const std::size_t wanted = isMessage && !isLastByte ? missing - 1 : missing;
    const ssize_t count = recv(connection_.get(), chunk.data(), std::min(wanted, chunk.size()),
                               MSG_DONTWAIT | (isLastByte ? MSG_PEEK : 0));
    if (count < 0 && errno == EINTR) {
        return {};
    }
    if (count <= 0) {
        return count < 0 && errno == EAGAIN ? State::Sending : State::Broken;
    }
    frame_.add({chunk.data(), static_cast<std::size_t>(count)});
    return {};
}

void Client::takeLastByte() const {
    char byte = 0;
    [[maybe_unused]] const ssize_t ignored = recv(connection_.get(), &byte, 1, MSG_DONTWAIT);
}

bool Client::isConnected() const {
    // NB: not by a read, which would meet what the client has sent before it went.
    pollfd peer{.fd = connection_.get(), .events = POLLRDHUP, .revents = 0};
    return connection_ && poll(&peer, 1, 0) == 0;
}

std::optional<CommandRequest> readRequest(std::string_view propertyList) {
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
    return CommandRequest{.commandLine = *command->second,
                          .progressFilePath = path != message->end() ? path->second : std::nullopt,
                          .answer = {}};
}

} // namespace kyb::helper
