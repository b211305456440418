#include "channel/FrameReader.h"

#include "channel/channel_message.h"

namespace kyb {

FrameReader::State FrameReader::state() const {
    if (received_.size() < kFrameHeaderBytes) {
        return State::Header;
    }
    const std::size_t length = announcedLength();
    if (length == 0 || length > kMaxMessageBytes) {
        return State::Refused;
    }
    return message().size() < length ? State::Message : State::Complete;
}

std::size_t FrameReader::missingBytes() const {
    switch (state()) {
    case State::Header:
        return kFrameHeaderBytes - received_.size();
    case State::Message:
        return announcedLength() - message().size();
    case State::Complete:
    case State::Refused:
        break;
    }
    return 0;
}

void FrameReader::add(std::string_view bytes) {
    while (!bytes.empty() && missingBytes() > 0) {
        const std::string_view piece = bytes.substr(0, missingBytes());
        received_.append(piece);
        bytes.remove_prefix(piece.size());
    }
}

std::string_view FrameReader::message() const {
    return std::string_view(received_).substr(kFrameHeaderBytes);
}

std::size_t FrameReader::announcedLength() const {
    std::size_t length = 0;
    for (const char byte : std::string_view(received_).substr(0, kFrameHeaderBytes)) {
        length = length << 8 | static_cast<unsigned char>(byte);
    }
    return length;
}

} // namespace kyb
