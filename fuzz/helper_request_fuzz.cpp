// What a client may send to the privileged helper: any bytes at all.

#include "channel/FrameReader.h"
#include "linux/Client.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    kyb::helper::readRequest(bytes);

    kyb::FrameReader frame;
    frame.add(bytes);
    if (frame.state() == kyb::FrameReader::State::Complete) {
        kyb::helper::readRequest(frame.message());
    }
    return 0;
}
