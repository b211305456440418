#pragma once

#include "posix/UniqueFd.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What travels between the processes of a box, in place of mach messages. Any thread; one at a time per socket and
// direction.

namespace macbox {

struct Frame {
    /// Notice: to a client, that its peer's end is imminent. Ask, Answer: to and from launchd.
    enum class Kind : std::uint8_t { Hello, Message, Reply, Notice, Ask, Answer };
    Kind kind;
    std::uint64_t number = 0; ///< which message a reply belongs to; 0: none is wanted
    std::vector<std::string> texts;
};

/// Sends all of a frame. \return false when the peer has gone.
bool send(int socket, const Frame &frame);

/// Waits for the next frame; none when the peer has gone.
std::optional<Frame> receive(int socket);

/// A socket that listens at \p path, in place of what is there, or that is connected with it; empty when it cannot be.
kyb::UniqueFd listenAt(const std::string &path);
kyb::UniqueFd connectTo(const std::string &path);

/// With a descriptor beside the bytes.
bool sendDescriptor(int socket, int descriptor);
kyb::UniqueFd receiveDescriptor(int socket);

/// Asks the launchd of the box around \p root. \return its answer's texts; none when it cannot be reached, or says no.
std::optional<std::vector<std::string>> askLaunchd(const std::string &root, const std::vector<std::string> &question,
                                                   kyb::UniqueFd *descriptor = nullptr);

} // namespace macbox
