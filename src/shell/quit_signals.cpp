#include "shell/quit_signals.h"

#include "base/threads.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace kyb {
namespace {

std::array<int, 2> signalPipe{-1, -1};

void reportSignal(int signal) {
    const int before = errno;
    const auto number = static_cast<unsigned char>(signal);
    [[maybe_unused]] const ssize_t written = write(signalPipe[1], &number, 1);
    errno = before;
}

void endBySignal(int signal) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/// Reads the numbers of the signals that arrive, for as long as the process lives.
void forwardSignals(const std::function<bool()> &mayEnd) {
    unsigned char signal = 0;
    while (read(signalPipe[0], &signal, 1) == 1 || errno == EINTR) {
        onMainThread([mayEnd, signal] {
            if (mayEnd()) {
                endBySignal(signal);
            }
        });
    }
}

} // namespace

void askBeforeQuitSignals(std::function<bool()> mayEnd) {
    if (pipe(signalPipe.data()) != 0) {
        return;
    }
    for (const int end : signalPipe) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
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
