#include "linux/Client.h"

#include "channel/channel_message.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>

namespace kyb::helper {

std::size_t Client::headerBytes() {
    return kFrameHeaderBytes;
}

Client::State Client::read() {
    if (const std::optional<State> state = readUpTo(kFrameHeaderBytes, 0)) {
        return *state;
    }
    const std::optional<std::size_t> size = announcedSize();
    if (!size) {
        return State::Broken;
    }
    if (const std::optional<State> state = readUpTo(*size - 1, 0)) {
        return *state;
    }
    return readUpTo(*size, MSG_PEEK).value_or(State::Complete);
}

/// Reads until \p size bytes are there. \return nothing when they are, or else why not.
std::optional<Client::State> Client::readUpTo(std::size_t size, int flags) {
    char chunk[16384];
    while (received_.size() < size) {
        const std::size_t wanted = std::min(size - received_.size(), sizeof chunk);
        const ssize_t count = recv(connection_.get(), chunk, wanted, flags | MSG_DONTWAIT);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0 && errno == EAGAIN) {
            return State::Sending;
        }
        if (count <= 0) {
            return State::Broken;
        }
        received_.append(chunk, static_cast<std::size_t>(count));
    }
    return {};
}

std::optional<std::size_t> Client::announcedSize() const {
    std::array<unsigned char, kFrameHeaderBytes> header{};
    std::copy_n(received_.begin(), header.size(), header.begin());
    const std::optional<std::size_t> length = messageLength(header);
    return length ? std::optional(kFrameHeaderBytes + *length) : std::nullopt;
}

void Client::takeLastByte() const {
    char byte = 0;
    [[maybe_unused]] const ssize_t ignored = recv(connection_.get(), &byte, 1, MSG_DONTWAIT);
}

} // namespace kyb::helper
