#include "channel/ServiceSocket.h"

#include "posix/file_io.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

namespace kyb {
namespace {

constexpr int kBacklog = 128;
constexpr timeval kConnectTimeout{.tv_sec = 2, .tv_usec = 0};

UniqueFd newSocket() {
    return UniqueFd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

/// The address of \p name in the folder that is open as \p folder.
sockaddr_un addressIn(const UniqueFd &folder, const std::string &name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(folder.get()) + "/" + name;
    std::copy_n(path.begin(), std::min(path.size(), sizeof address.sun_path - 1), address.sun_path);
    return address;
}

void setNonBlocking(int fd) {
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
}

} // namespace

ServiceSocket::ServiceSocket(UniqueFd folder, std::string serviceName)
    : folder_(std::move(folder)), name_(std::move(serviceName)) {}

std::optional<ServiceSocket> ServiceSocket::open(const std::string &systemRoot, const std::string &serviceName) {
    UniqueFd folder(::open((systemRoot + "/var/run").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        return {};
    }
    return ServiceSocket(std::move(folder), serviceName);
}

UniqueFd ServiceSocket::connect() const {
    UniqueFd connection = newSocket();
    setsockopt(connection.get(), SOL_SOCKET, SO_SNDTIMEO, &kConnectTimeout, sizeof kConnectTimeout);
    const sockaddr_un address = addressIn(folder_, name_);
    while (::connect(connection.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        if (errno != EINTR) {
            return {};
        }
    }
    setNonBlocking(connection.get());
    return connection;
}

UniqueFd ServiceSocket::listen() const {
    remove();
    UniqueFd listening = newSocket();
    const sockaddr_un address = addressIn(folder_, name_);
    // The mode is set before anybody can be let in.
    if (bind(listening.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        fchmodat(folder_.get(), name_.c_str(), 0666, 0) != 0 || ::listen(listening.get(), kBacklog) != 0) {
        return {};
    }
    setNonBlocking(listening.get());
    return listening;
}

UniqueFd ServiceSocket::tryLock() const {
    return tryLockOn(name_ + ".lock");
}

UniqueFd ServiceSocket::tryLockOfServer() const {
    return tryLockOn("../" + name_ + ".server"); // whoever clears the sockets' folder must not end it
}

UniqueFd ServiceSocket::tryLockOn(const std::string &fileName) const {
    UniqueFd lock = openRegularFile(fileName, O_RDWR | O_CREAT | O_NOFOLLOW, 0600, folder_.get());
    struct stat folder {};
    if (geteuid() == 0 && lock && fstat(folder_.get(), &folder) == 0) {
        // Root and the folder's owner share the service, whoever of them came first.
        [[maybe_unused]] const int ignored = fchown(lock.get(), folder.st_uid, folder.st_gid);
    }
    if (!lock || flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
        return {};
    }
    return lock;
}

std::optional<struct stat> ServiceSocket::entry() const {
    struct stat info {};
    if (fstatat(folder_.get(), name_.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
        return {};
    }
    return info;
}

void ServiceSocket::remove() const {
    unlinkat(folder_.get(), name_.c_str(), 0);
}

} // namespace kyb
