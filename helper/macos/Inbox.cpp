#include "macos/Inbox.h"

#include <array>
#include <unistd.h>

namespace kyb::helper {

Inbox::Inbox() {
    makeNonBlocking(wakePipe_.reading);
    makeNonBlocking(wakePipe_.writing);
}

void Inbox::wake() const {
    const char byte = 0;
    [[maybe_unused]] const ssize_t ignored =
        write(wakePipe_.writing.get(), &byte, 1); // a full pipe is readable as well
}

void Inbox::add(CommandRequest request) {
    const MutexLock lock(mutex_);
    requests_.push_back(std::move(request));
    wake();
}

void Inbox::noteClientCame() {
    const MutexLock lock(mutex_);
    ++clients_;
}

void Inbox::noteClientWent() {
    const MutexLock lock(mutex_);
    --clients_;
    wake();
}

void Inbox::noteClosed() {
    const MutexLock lock(mutex_);
    isClosed_ = true;
    wake();
}

std::vector<CommandRequest> Inbox::takeRequests() {
    const MutexLock lock(mutex_);
    std::array<char, 64> bytes{};
    while (read(wakePipe_.reading.get(), bytes.data(), bytes.size()) > 0) {
    }
    return std::exchange(requests_, {});
}

bool Inbox::isQuiet() const {
    const MutexLock lock(mutex_);
    return clients_ == 0 && requests_.empty();
}

bool Inbox::isClosed() const {
    const MutexLock lock(mutex_);
    return isClosed_;
}

} // namespace kyb::helper
