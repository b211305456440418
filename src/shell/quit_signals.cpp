#include "shell/quit_signals.h"

#include "base/threads.h"
#include "posix/file_io.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <poll.h>
#include <unistd.h>

namespace kyb {
namespace {

using namespace std::chrono_literals;

constexpr auto kAnswerTimeout = 10s;
constexpr int kAnswerPollMilliseconds = 10;

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

/// \return whether \p flag became true before the timeout.
bool isSoonTrue(const std::atomic<bool> &flag) {
    const auto deadline = std::chrono::steady_clock::now() + kAnswerTimeout;
    while (!flag && std::chrono::steady_clock::now() < deadline) {
        poll(nullptr, 0, kAnswerPollMilliseconds);
    }
    return flag;
}

/// Puts the question to the main thread. One that does not answer has nothing left that could be disturbed.
void ask(const std::function<bool()> &mayEnd, int signal) {
    auto isAnswered = std::make_shared<std::atomic<bool>>(false);
    onMainThread([mayEnd, signal, isAnswered] {
        *isAnswered = true;
        if (mayEnd()) {
            endBySignal(signal);
        }
    });
    if (!isSoonTrue(*isAnswered)) {
        endBySignal(signal);
    }
}

/// Reads the numbers of the signals that arrive, for as long as the process lives. Of several at a time the last
/// counts.
void forwardSignals(const std::function<bool()> &mayEnd) {
    std::array<unsigned char, 4096> signals{};
    ssize_t count = 0;
    while ((count = read(signalReader, signals.data(), signals.size())) > 0) { // NB: goes on after a signal, SA_RESTART
        ask(mayEnd, signals[static_cast<std::size_t>(count) - 1]);
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
