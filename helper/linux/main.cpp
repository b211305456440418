#include "channel/ServiceSocket.h"
#include "channel/message_keys.h"
#include "helper_log.h"
#include "helper_signals.h"
#include "linux/SocketListener.h"
#include "linux/registered_place.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using namespace kyb;
using namespace kyb::helper;
using namespace std::chrono_literals;

namespace {

constexpr char kThisProgram[] = "/proc/self/exe";
constexpr int kListeningFd = 3;
constexpr int kMisplaced = 2;
constexpr int kNotAlone = 3;

// What a process has by default.
constexpr rlim_t kDescriptors = 1024;
constexpr rlim_t kStackBytes = rlim_t{8} << 20;

/// What an earlier helper may need to end its command takes a part of it.
constexpr auto kEarlierHelperTimeout = 30s;
constexpr std::chrono::duration<int, std::milli> kEarlierHelperInterval = 5ms;

/// Whether whoever started the program handed a listening socket to it. The client makes the socket, so that its
/// connection and those of others wait in it while this program starts.
bool hasListeningSocket() {
    const char *count = std::getenv("LISTEN_FDS");
    int isListening = 0;
    socklen_t size = sizeof isListening;
    return count != nullptr && std::string(count) == "1" &&
           getsockopt(kListeningFd, SOL_SOCKET, SO_ACCEPTCONN, &isListening, &size) == 0 && isListening != 0;
}

void setLimit(__rlimit_resource_t resource, rlim_t wanted) {
    rlimit before{};
    if (getrlimit(resource, &before) != 0) {
        return;
    }
    const rlimit lifted{.rlim_cur = wanted, .rlim_max = std::max(before.rlim_max, wanted)};
    if (setrlimit(resource, &lifted) != 0) { // only root may raise what was lowered for good
        const rlimit possible{.rlim_cur = std::min(wanted, before.rlim_max), .rlim_max = before.rlim_max};
        setrlimit(resource, &possible);
    }
}

/// Waits until the helper before this one, which may have been asked to end in the middle of its work, has ended: one
/// at a time runs commands and writes progress. \return the proof of that, to be held while this one serves; none when
/// it cannot be had, or not in good time.
UniqueFd succeedEarlierHelper(const std::string &systemRoot) {
    const std::optional<ServiceSocket> place = ServiceSocket::open(systemRoot, kHelperServiceName);
    const auto deadline = SteadyClock::now() + kEarlierHelperTimeout;
    UniqueFd lock;
    bool isTold = false;
    while (place && !(lock = place->tryLockOfServer()) && errno == EWOULDBLOCK && SteadyClock::now() < deadline) {
        if (!std::exchange(isTold, true)) {
            logLine("Waits for an earlier helper tool to end.");
        }
        poll(nullptr, 0, kEarlierHelperInterval.count());
    }
    return lock;
}

/// Takes back the limits that whoever started the first helper has set for himself, and his being nice, as far as the
/// system allows.
void liftLimits() {
    for (const auto resource : {RLIMIT_AS, RLIMIT_CPU, RLIMIT_DATA, RLIMIT_FSIZE, RLIMIT_NPROC}) {
        setLimit(resource, RLIM_INFINITY);
    }
    setLimit(RLIMIT_NOFILE, kDescriptors);
    setLimit(RLIMIT_STACK, kStackBytes);
    setpriority(PRIO_PROCESS, 0, 0);
}

} // namespace

int main() {
    ignoreSignalsOfWriting();
    liftLimits();
    const UniqueFd root = openRootOf(kThisProgram);
    if (!root) {
        logLine("The helper tool does not lie at its registered place.");
        return kMisplaced;
    }
    if (!hasListeningSocket()) {
        logLine("The helper tool is started on demand only, with a listening socket.");
        return kMisplaced;
    }
    const std::string systemRoot = "/proc/self/fd/" + std::to_string(root.get()); // whatever its name
    SocketListener listener(UniqueFd(kListeningFd),
                            {.systemRoot = systemRoot, .isTrusted = trustRootAndOwner(systemRoot)});
    const UniqueFd lock = succeedEarlierHelper(systemRoot);
    if (!lock) {
        logLine("Another helper tool has not ended.");
        return kNotAlone;
    }
    return serve(listener, {});
}
