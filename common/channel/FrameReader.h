#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kyb {

/// Puts one frame of the command channel together from the bytes as they come, in pieces of any size. Pure; one thread.
class FrameReader {
public:
    enum class State {
        Header,   ///< the 4 bytes that tell the length are not all there
        Message,  ///< the length is known, the message is not all there
        Complete, ///< the whole message is there
        Refused,  ///< the length is 0 or more than `kMaxMessageBytes`
    };
    State state() const;

    /// How many bytes the header, or else the message, still needs; 0 when nothing more is wanted.
    std::size_t missingBytes() const;

    /// Takes the next bytes. Those that the frame does not need are passed over.
    void add(std::string_view bytes);

    /// The message, once it is `Complete`. Valid as long as the reader is.
    std::string_view message() const;

private:
    std::size_t announcedLength() const;

    std::string received_; ///< header and message
};

} // namespace kyb
