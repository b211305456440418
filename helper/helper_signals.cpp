#include "helper_signals.h"

#include "posix/file_io.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace kyb::helper {
namespace {

// NB: numbers, and never closed: a signal may come while static objects are destroyed.
int wakeReader = -1;
int wakeWriter = -1;
volatile std::sig_atomic_t stopIsRequested = 0;

void onSignal(int signal) {
    const int savedError = errno;
    if (signal != SIGCHLD) {
        stopIsRequested = 1;
    }
    const char byte = 0;
    [[maybe_unused]] const ssize_t ignored = write(wakeWriter, &byte, 1); // a full pipe is readable as well
    errno = savedError;
}

void handle(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

} // namespace

void ignoreSignalsOfWriting() {
    handle(SIGPIPE, SIG_IGN);
    handle(SIGXFSZ, SIG_IGN);
}

int watchSignals() {
    Pipe wakePipe = makePipe();
    if (!wakePipe.reading) {
        return -1;
    }
    makeNonBlocking(wakePipe.reading);
    makeNonBlocking(wakePipe.writing);
    wakeReader = wakePipe.reading.release();
    wakeWriter = wakePipe.writing.release();
    for (const int signal : {SIGCHLD, SIGTERM, SIGINT, SIGHUP}) {
        handle(signal, onSignal);
    }
    return wakeReader;
}

StopRequest takeSignals() {
    std::array<char, 64> bytes{};
    while (read(wakeReader, bytes.data(), bytes.size()) > 0) {
    }
    if (stopIsRequested == 0) {
        return StopRequest::None;
    }
    stopIsRequested = 0;
    return StopRequest::Received;
}

} // namespace kyb::helper
