// A helper that answers a message without a progress file well, and any other with the nonsense that the file
// "nonsense" beside it names: close, half, garbage, array or oversize.

#include "channel/channel_message.h"
#include "channel/message_keys.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kListeningSocket = 3;

std::string readAll(int socket, std::size_t length) {
    std::string bytes(length, '\0');
    std::size_t done = 0;
    while (done < length) {
        const ssize_t got = read(socket, bytes.data() + done, length - done);
        if (got <= 0) {
            return {};
        }
        done += static_cast<std::size_t>(got);
    }
    return bytes;
}

std::string readMessage(int socket) {
    const std::string header = readAll(socket, kyb::kFrameHeaderBytes);
    if (header.size() != kyb::kFrameHeaderBytes) {
        return {};
    }
    std::array<unsigned char, kyb::kFrameHeaderBytes> length{};
    std::memcpy(length.data(), header.data(), length.size());
    return readAll(socket, kyb::messageLength(length).value_or(0));
}

/// What is sent, with {"an": "array"} packed in a binary property list as an array.
std::string nonsense(const std::string &kind) {
    using namespace std::string_literals;
    const std::string array =
        "bplist00\xa1\x01\x51\x61\x08\x0a\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x02\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0c"s;
    const std::map<std::string, std::string> answers{
        {"close", ""s},
        {"half", "\0\0\0\x20"
                 "bpli"s},
        {"garbage", "\0\0\0\x08garbage!"s},
        {"array", "\0\0\0"s + static_cast<char>(array.size()) + array},
        {"oversize", "\x7f\xff\xff\xff"s},
    };
    return answers.at(kind);
}

} // namespace

int main() {
    std::ifstream file(std::filesystem::read_symlink("/proc/self/exe").parent_path() / "nonsense");
    std::string kind;
    file >> kind;
    for (;;) {
        pollfd listening{kListeningSocket, POLLIN, 0};
        poll(&listening, 1, -1);
        const int client = accept(kListeningSocket, nullptr, nullptr);
        if (client < 0) {
            return 1;
        }
        const auto message = kyb::decodeMessage(readMessage(client));
        const bool namesAFile = message && message->count(kyb::kInstallerLogPathKey) != 0;
        const std::string answer = namesAFile ? nonsense(kind) : *kyb::encodeFrame({{kyb::kReplyKey, "fine"}});
        send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
        close(client);
    }
}
