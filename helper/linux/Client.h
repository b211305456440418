#pragma once

#include "CommandQueue.h"
#include "channel/FrameReader.h"
#include "posix/UniqueFd.h"

#include <optional>
#include <string_view>

namespace kyb::helper {

/// A client whose request is on its way in. One thread.
class Client {
public:
    /// \param deadline when the client has been too slow.
    Client(UniqueFd connection, SteadyClock::time_point deadline)
        : connection_(std::move(connection)), deadline_(deadline) {}

    enum class State { Sending, Complete, Broken };

    /// Reads what is there; the request's last byte is looked at and left in the connection.
    State read();

    /// The message, once it is `Complete`.
    std::string_view message() const { return frame_.message(); }

    /// Takes the byte that `read` left. The system tells the client how much of its request lies untaken in the
    /// connection, and nothing else before the command's end: so the last byte is the receipt. It is taken when the
    /// request was admitted, its progress file then being made, or was refused.
    void takeLastByte() const;

    /// Whether the client has not closed the connection, and it was not left.
    bool isConnected() const;

    /// Lets go of the client, which sees the connection closed.
    void leave() { connection_.reset(); }

    int fd() const { return connection_.get(); }
    SteadyClock::time_point deadline() const { return deadline_; }

private:
    std::optional<State> readOnce();

    UniqueFd connection_;
    SteadyClock::time_point deadline_;
    FrameReader frame_;
};

/// What the message \p propertyList asks for, without a way to answer; nothing when it is not a dictionary with a text
/// for a command and, when it names a progress file, a text for that. Other keys are not looked at. Any bytes may be
/// given.
std::optional<CommandRequest> readRequest(std::string_view propertyList);

} // namespace kyb::helper
