#include "helper_signals.h"

#include "posix/file_io.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace kyb::helper {
namespace {

Pipe wakePipe;
volatile std::sig_atomic_t stopIsRequested = 0;

void onSignal(int signal) {
    const int savedError = errno;
    if (signal != SIGCHLD) {
        stopIsRequested = 1;
    }
    const char byte = 0;
    [[maybe_unused]] const ssize_t ignored = write(wakePipe.writing.get(), &byte, 1); // a full pipe is readable as well
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
    wakePipe = makePipe();
    if (!wakePipe.reading) {
        return -1;
    }
    makeNonBlocking(wakePipe.reading);
    makeNonBlocking(wakePipe.writing);
    for (const int signal : {SIGCHLD, SIGTERM, SIGINT, SIGHUP}) {
        handle(signal, onSignal);
    }
    handle(SIGPIPE, SIG_IGN);
    return wakePipe.reading.get();
}

StopRequest takeSignals() {
    std::array<char, 64> bytes{};
    while (read(wakePipe.reading.get(), bytes.data(), bytes.size()) > 0) {
    }
    if (stopIsRequested == 0) {
        return StopRequest::None;
    }
    stopIsRequested = 0;
    return StopRequest::Received;
}

} // namespace kyb::helper
