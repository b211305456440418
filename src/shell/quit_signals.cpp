#include "shell/quit_signals.h"

#include "base/threads.h"
#include "posix/file_io.h"

#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace kyb {
namespace {

// NB: numbers, and never closed: a signal may come while static objects are destroyed.
int signalReader = -1;
int signalWriter = -1;

void reportSignal(int signal) {
    const int before = errno;
    const auto number = static_cast<unsigned char>(signal);
    [[maybe_unused]] const ssize_t written = write(signalWriter, &number, 1);
    errno = before;
}

void endBySignal(int signal) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/// Reads the numbers of the signals that arrive, for as long as the process lives.
void forwardSignals(const std::function<bool()> &mayEnd) {
    unsigned char signal = 0;
    while (read(signalReader, &signal, 1) == 1 || errno == EINTR) {
        onMainThread([mayEnd, signal] {
            if (mayEnd()) {
                endBySignal(signal);
            }
        });
    }
}

} // namespace

void askBeforeQuitSignals(std::function<bool()> mayEnd) {
    Pipe signalPipe = makePipe();
    if (!signalPipe.reading) {
        return;
    }
    signalReader = signalPipe.reading.release();
    signalWriter = signalPipe.writing.release();
    struct sigaction action {};
    action.sa_handler = reportSignal;
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
    inBackground([mayEnd = std::move(mayEnd)] { forwardSignals(mayEnd); });
}

} // namespace kyb
