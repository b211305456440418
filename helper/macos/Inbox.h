#pragma once

#include "CommandQueue.h"
#include "posix/Mutex.h"
#include "posix/file_io.h"

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

    /// Readable when a request was added, or an end noted, since the last `takeRequests`; -1 when it could not be made.
    int wakeFd() const { return wakePipe_.reading.get(); }

    std::vector<CommandRequest> takeRequests();

    /// Whether nobody is connected and no request waits.
    bool isQuiet() const;
    bool isClosed() const;

private:
    void wake() const;

    Pipe wakePipe_ = makePipe();
    mutable Mutex mutex_;
    std::vector<CommandRequest> requests_ GUARDED_BY(mutex_);
    int clients_ GUARDED_BY(mutex_) = 0;
    bool isClosed_ GUARDED_BY(mutex_) = false;
};

} // namespace kyb::helper
