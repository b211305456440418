#pragma once

#include "CommandQueue.h"
#include "posix/UniqueFd.h"

#include <mutex>
#include <vector>

namespace kyb::helper {

/// What the listener's queue hands over to the thread that runs the commands. Any thread, unless it says otherwise.
class Inbox {
public:
    Inbox();

    void add(CommandRequest request);
    void noteClientCame();
    void noteClientWent();

    /// Notes that no new client can come any more.
    void noteClosed();

    /// Readable when something was added or noted since the last `takeRequests`; -1 when it could not be made.
    int wakeFd() const { return wakeReader_.get(); }

    std::vector<CommandRequest> takeRequests();

    /// Whether nobody is connected and no request waits.
    bool isQuiet() const;
    bool isClosed() const;

private:
    void wake() const;

    UniqueFd wakeReader_;
    UniqueFd wakeWriter_;
    mutable std::mutex mutex_; ///< guards what follows
    std::vector<CommandRequest> requests_;
    int clients_ = 0;
    bool isClosed_ = false;
};

} // namespace kyb::helper
