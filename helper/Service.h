#pragma once

#include "CommandQueue.h"

#include <chrono>
#include <vector>

namespace kyb::helper {

/// Where the clients come in: what differs from system to system. Used by one thread, the service's.
class Listener {
public:
    virtual ~Listener() = default;

    /// Begins to take clients. First, once.
    virtual void open() = 0;

    /// What becomes readable when `takeRequests` has something to do; -1 stands for nothing.
    virtual std::vector<int> descriptors(const CommandQueue &commands) const = 0;

    /// When `takeRequests` has something to do although nothing came; the clock's last moment when never.
    virtual SteadyClock::time_point deadline() const = 0;

    /// Takes who came, and adds to \p commands what clients have asked for, in the order of arrival.
    virtual void takeRequests(CommandQueue &commands) = 0;

    /// Whether new clients may come. Once it is over it stays so.
    virtual bool isListening() const = 0;

    /// Whether a request may still come in: somebody is connected, or may be although nobody is listened for any more.
    virtual bool isBusy() const = 0;

    /// Ends to listen such that no client is lost: who came before is served still. When that cannot be done now, it
    /// goes on listening, and may be told again. While it is listening.
    virtual void close() = 0;

    /// Ends to listen, whoever may be about to come.
    virtual void closeNow() = 0;
};

struct ServiceOptions {
    std::chrono::milliseconds idle = std::chrono::seconds(60); ///< the service ends after so long with nothing to do
    CommandLimits commands;
};

/// Runs the commands of the clients of \p listener until there is nothing to do for a while or the process is asked to
/// end (SIGTERM). Sets the process's working folder, umask and signals: once per process, which has no second thread.
/// \return the process's exit status.
int serve(Listener &listener, const ServiceOptions &options);

} // namespace kyb::helper
