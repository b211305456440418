#include "shell/quit_signals.h"

#include "base/threads.h"
#include "posix/file_io.h"

#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace kyb {
namespace {

Pipe signalPipe;

void reportSignal(int signal) {
    const int before = errno;
    const auto number = static_cast<unsigned char>(signal);
    [[maybe_unused]] const ssize_t written = write(signalPipe.writing.get(), &number, 1);
    errno = before;
}

void endBySignal(int signal) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/// Reads the numbers of the signals that arrive, for as long as the process lives.
void forwardSignals(const std::function<bool()> &mayEnd) {
    unsigned char signal = 0;
    while (read(signalPipe.reading.get(), &signal, 1) == 1 || errno == EINTR) {
        onMainThread([mayEnd, signal] {
            if (mayEnd()) {
                endBySignal(signal);
            }
        });
    }
}

} // namespace

void askBeforeQuitSignals(std::function<bool()> mayEnd) {
    signalPipe = makePipe();
    if (!signalPipe.reading) {
        return;
    }
    struct sigaction action {};
    action.sa_handler = reportSignal;
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
    inBackground([mayEnd = std::move(mayEnd)] { forwardSignals(mayEnd); });
}

} // namespace kyb
