// What comes over the command channel's socket, any bytes: a frame is the same in whatever pieces it comes, and a
// message of texts that is read is written and read as the same again. NB: a hostile list may hold bytes that are no
// text where the format has ASCII, and the library hands them on as they are; nobody writes those.

#include "channel/FrameReader.h"
#include "channel/channel_message.h"
#include "promise.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace {

void requireSameInPieces(std::string_view bytes, std::size_t pieceBytes) {
    kyb::FrameReader whole;
    whole.add(bytes);
    kyb::FrameReader inPieces;
    for (std::size_t at = 0; at < bytes.size(); at += pieceBytes) {
        inPieces.add(bytes.substr(at, pieceBytes));
    }
    require(whole.state() == inPieces.state() && whole.missingBytes() == inPieces.missingBytes());
    if (whole.state() == kyb::FrameReader::State::Complete) {
        require(whole.message() == inPieces.message() &&
                bytes.substr(kyb::kFrameHeaderBytes).starts_with(whole.message()));
    }
}

void requireWrittenAsRead(std::string_view propertyList) {
    const std::optional<kyb::ChannelMessage> message = kyb::decodeMessage(propertyList);
    if (!message ||
        !std::all_of(message->begin(), message->end(), [](const auto &entry) { return entry.second.has_value(); })) {
        return;
    }
    std::vector<std::pair<std::string, std::string>> texts;
    for (const auto &[key, text] : *message) {
        texts.emplace_back(key, *text);
    }
    const std::optional<std::string> frame = kyb::encodeFrame(texts);
    if (!frame) {
        return; // longer than what it was read from, and too long
    }
    kyb::FrameReader reader;
    reader.add(*frame);
    require(reader.state() == kyb::FrameReader::State::Complete && reader.missingBytes() == 0);
    require(kyb::decodeMessage(reader.message()) == message);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    for (const std::size_t pieceBytes : {1U, 3U, 64U}) {
        requireSameInPieces(bytes, pieceBytes);
    }
    requireWrittenAsRead(bytes);
    if (size > kyb::kFrameHeaderBytes) {
        requireWrittenAsRead(bytes.substr(kyb::kFrameHeaderBytes));
    }
    return 0;
}
