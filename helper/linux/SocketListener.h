#pragma once

#include "Service.h"
#include "channel/ServiceSocket.h"
#include "linux/Client.h"
#include "posix/UniqueFd.h"

#include <chrono>
#include <functional>
#include <list>
#include <optional>
#include <set>
#include <string>
#include <sys/types.h>

namespace kyb::helper {

/// Takes clients from the socket that stands in for the mach service.
class SocketListener final : public Listener {
public:
    struct Options {
        /// The folder that plays "/", without a trailing slash; empty for "/" itself. Leads to one and the same folder
        /// all the time.
        std::string systemRoot;

        /// Whether a process of the user \p uid may have commands run.
        std::function<bool(uid_t uid)> isTrusted;

        std::chrono::milliseconds requestTimeout = std::chrono::seconds(10); ///< for a request to come in
    };

    SocketListener(UniqueFd listening, Options options);

    void open() override;
    std::vector<int> descriptors(const CommandQueue &commands) const override;
    SteadyClock::time_point deadline() const override;
    void takeRequests(CommandQueue &commands) override;
    bool isListening() const override { return static_cast<bool>(listening_); }
    bool isBusy() const override { return !clients_.empty(); }
    void close() override;
    void closeNow() override;

private:
    bool hasRoom(const CommandQueue &commands) const;
    bool acceptClient();
    bool isTrusted(const UniqueFd &connection);
    void readClients(CommandQueue &commands);
    void admit(Client &client, CommandQueue &commands) const;
    bool isProgressFile(const std::string &path) const;
    void lookAfterPlace();
    bool isInPlace() const;
    bool removeSocket() const;

    const Options options_;
    UniqueFd listening_;
    std::optional<ServiceSocket> place_;
    std::optional<struct stat> myEntry_; ///< what lay at the socket's place when this listener got it
    std::list<Client> clients_;
    std::set<uid_t> refusedUsers_;
    SteadyClock::time_point acceptAt_; ///< from when on clients are let in
    SteadyClock::time_point lookAt_;   ///< when to look whether the socket lies at its place
};

/// Trusts root and the owner of the folder \p systemRoot (empty for "/").
std::function<bool(uid_t)> trustRootAndOwner(const std::string &systemRoot);

} // namespace kyb::helper
