#include "channel/message_keys.h"
#include "helper_log.h"
#include "linux/SocketListener.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

using namespace kyb;
using namespace kyb::helper;

namespace {

constexpr int kListeningFd = 3;
constexpr int kMisplaced = 2;

/// The folder that plays "/": the one below which this program lies at its registered place.
std::optional<std::string> systemRootOfThisProgram() {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = readlink("/proc/self/exe", target.data(), target.size());
    std::string program(target.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    constexpr std::string_view replaced =
        " (deleted)"; // what the system adds when a newer file took the program's place
    if (program.ends_with(replaced)) {
        program.resize(program.size() - replaced.size());
    }
    const std::string place = std::string("/Library/PrivilegedHelperTools/") + kHelperLabel;
    if (!program.ends_with(place)) {
        return {};
    }
    return program.substr(0, program.size() - place.size());
}

/// Whether whoever started the program handed a listening socket to it. The client makes the socket, so that its
/// connection and those of others wait in it while this program starts.
bool hasListeningSocket() {
    const char *count = std::getenv("LISTEN_FDS");
    int isListening = 0;
    socklen_t size = sizeof isListening;
    return count != nullptr && std::string(count) == "1" &&
           getsockopt(kListeningFd, SOL_SOCKET, SO_ACCEPTCONN, &isListening, &size) == 0 && isListening != 0;
}

} // namespace

int main() {
    const std::optional<std::string> systemRoot = systemRootOfThisProgram();
    if (!systemRoot) {
        logLine("The helper tool does not lie at its registered place.");
        return kMisplaced;
    }
    if (!hasListeningSocket()) {
        logLine("The helper tool is started on demand only, with a listening socket.");
        return kMisplaced;
    }
    SocketListener listener(UniqueFd(kListeningFd),
                            {.systemRoot = *systemRoot, .isTrusted = trustRootAndOwner(*systemRoot)});
    return serve(listener, {});
}
