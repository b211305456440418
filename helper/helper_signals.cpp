#include "helper_signals.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace kyb::helper {
namespace {

std::array<int, 2> wakePipe{-1, -1};
volatile std::sig_atomic_t stopIsRequested = 0;

void onSignal(int signal) {
    const int savedError = errno;
    if (signal != SIGCHLD) {
        stopIsRequested = 1;
    }
    const char byte = 0;
    [[maybe_unused]] const ssize_t ignored = write(wakePipe[1], &byte, 1); // a full pipe is readable as well
    errno = savedError;
}

void handle(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

} // namespace

int watchSignals() {
    if (pipe(wakePipe.data()) != 0) {
        return -1;
    }
    for (const int fd : wakePipe) {
        fcntl(fd, F_SETFD, FD_CLOEXEC);
        fcntl(fd, F_SETFL, O_NONBLOCK);
    }
    for (const int signal : {SIGCHLD, SIGTERM, SIGINT, SIGHUP}) {
        handle(signal, onSignal);
    }
    handle(SIGPIPE, SIG_IGN);
    return wakePipe[0];
}

StopRequest takeSignals() {
    std::array<char, 64> bytes{};
    while (read(wakePipe[0], bytes.data(), bytes.size()) > 0) {
    }
    if (stopIsRequested == 0) {
        return StopRequest::None;
    }
    stopIsRequested = 0;
    return StopRequest::Received;
}

} // namespace kyb::helper
