#pragma once

#include "posix/UniqueFd.h"

#include <optional>
#include <string>
#include <sys/stat.h>

namespace kyb {

/// Where a service's socket and its lock lie. Holds their folder open and names both relative to it, so that the
/// folder's name may be longer than a socket's address. Any thread.
class ServiceSocket {
public:
    /// \param systemRoot the folder that plays "/", without a trailing slash; empty for "/" itself.
    /// \return nothing when the folder of the sockets does not exist or may not be read; `errno` is set.
    static std::optional<ServiceSocket> open(const std::string &systemRoot, const std::string &serviceName);

    /// A non-blocking connection, or none with `errno` set. Waits at most 2 seconds for room in the service's backlog.
    UniqueFd connect() const;

    /// Takes what lies at the socket's place away and makes a new socket that listens there, open to everybody; none
    /// with `errno` set. Only while the lock is held.
    UniqueFd listen() const;

    /// The lock that whoever starts or ends the service holds; held as long as the descriptor is open. None, with
    /// `errno` set, when it cannot be had: EWOULDBLOCK while somebody else holds it.
    UniqueFd tryLock() const;

    /// The lock that the one process which serves holds until it has ended. It lies above the socket's folder, which
    /// others may clear meanwhile. None, with `errno` set, as above.
    UniqueFd tryLockOfServer() const;

    /// What lies at the socket's place; nothing when nothing does.
    std::optional<struct stat> entry() const;

    /// Takes what lies at the socket's place away.
    void remove() const;

private:
    ServiceSocket(UniqueFd folder, std::string serviceName);

    UniqueFd tryLockOn(const std::string &fileName) const;

    UniqueFd folder_;
    std::string name_;
};

} // namespace kyb
