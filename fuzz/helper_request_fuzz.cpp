// What a client may send to the privileged helper: any bytes at all.

#include "channel/channel_message.h"
#include "linux/request.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    kyb::helper::readRequest(bytes);

    std::array<unsigned char, kyb::kFrameHeaderBytes> header{};
    if (size >= header.size()) {
        std::copy_n(data, header.size(), header.begin());
        const auto length = kyb::messageLength(header);
        const std::string_view body = bytes.substr(header.size());
        kyb::helper::readRequest(body.substr(0, length.value_or(0)));
    }
    return 0;
}
