#pragma once

#include "posix/UniqueFd.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace kyb::helper {

/// A client whose request is on its way in. The request's last byte is left in the connection until `takeLastByte`: a
/// client that wants to know when its request was taken sees it go. One thread.
class Client {
public:
    Client(UniqueFd connection, std::chrono::steady_clock::time_point patience)
        : connection_(std::move(connection)), patience_(patience) {}

    enum class State { Sending, Complete, Broken };

    /// Reads what is there.
    State read();

    /// The message, once it is `Complete`.
    std::string_view message() const { return std::string_view(received_).substr(headerBytes()); }

    void takeLastByte() const;

    /// Gives the connection away, to answer it.
    UniqueFd takeConnection() { return std::move(connection_); }

    int fd() const { return connection_.get(); }

    /// When the client has been too slow.
    std::chrono::steady_clock::time_point patience() const { return patience_; }

private:
    static std::size_t headerBytes();
    std::optional<State> readUpTo(std::size_t size, int flags);
    std::optional<std::size_t> announcedSize() const;

    UniqueFd connection_;
    std::chrono::steady_clock::time_point patience_;
    std::string received_; ///< header and message
};

} // namespace kyb::helper
