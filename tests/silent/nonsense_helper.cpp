// A helper that answers a message without a progress file well, and any other with the nonsense that the file
// "nonsense" beside it names: close, half, garbage, array or oversize.

#include "channel/FrameReader.h"
#include "channel/channel_message.h"
#include "channel/message_keys.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kListeningSocket = 3;

std::optional<kyb::ChannelMessage> readMessage(int socket) {
    kyb::FrameReader frame;
    for (char byte = 0; frame.missingBytes() > 0 && read(socket, &byte, 1) == 1;) {
        frame.add({&byte, 1});
    }
    if (frame.state() != kyb::FrameReader::State::Complete) {
        return {};
    }
    return kyb::decodeMessage(frame.message());
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
        const auto message = readMessage(client);
        const bool namesAFile = message && message->count(kyb::kInstallerLogPathKey) != 0;
        const std::string answer = namesAFile ? nonsense(kind) : *kyb::encodeFrame({{kyb::kReplyKey, "fine"}});
        send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
        close(client);
    }
}
