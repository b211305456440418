#include "linux/SocketListener.h"

#include "channel/channel_message.h"
#include "channel/message_keys.h"
#include "helper_log.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace kyb::helper {
namespace {

constexpr std::size_t kMaxClients = 32;
constexpr int kMaxAcceptsPerTurn = 128; ///< strangers, who take no room, may come without end

/// How long nobody is let in after the system had no descriptor for a client.
constexpr std::chrono::milliseconds kAcceptPause(100);

/// From look to look whether the socket still lies at its place.
constexpr std::chrono::milliseconds kLookInterval(500);

/// Sends \p reply as a client's one answer. A client that is gone does not get it; when one goes can be seen still.
void sendReply(int connection, const std::string &reply) {
    if (const std::optional<std::string> frame = encodeFrame({{kReplyKey, reply}})) {
        [[maybe_unused]] const ssize_t ignored =
            send(connection, frame->data(), frame->size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
    shutdown(connection, SHUT_WR);
}

/// Answers \p client, who without a reply is let go and sees an interruption.
auto answerOn(std::shared_ptr<Client> client) {
    return [client = std::move(client)](const std::optional<std::string> &reply) {
        if (reply) {
            sendReply(client->fd(), *reply);
        } else {
            client->leave();
        }
    };
}

bool isSame(const struct stat &one, const struct stat &other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool isSameFolder(const std::string &one, const std::string &other) {
    struct stat first {};
    struct stat second {};
    return stat((one + "/").c_str(), &first) == 0 && stat((other + "/").c_str(), &second) == 0 && isSame(first, second);
}

} // namespace

SocketListener::SocketListener(UniqueFd listening, Options options)
    : options_(std::move(options)), listening_(std::move(listening)),
      place_(ServiceSocket::open(options_.systemRoot, kHelperServiceName)) {
    if (place_) {
        myEntry_ = place_->entry();
    }
}

void SocketListener::open() {
    fcntl(listening_.get(), F_SETFD, FD_CLOEXEC);
    fcntl(listening_.get(), F_SETFL, fcntl(listening_.get(), F_GETFL) | O_NONBLOCK);
}

std::vector<int> SocketListener::descriptors(const CommandQueue &commands) const {
    std::vector<int> descriptors{hasRoom(commands) ? listening_.get() : -1};
    for (const Client &client : clients_) {
        descriptors.push_back(client.fd());
    }
    return descriptors;
}

SteadyClock::time_point SocketListener::deadline() const {
    auto next = SteadyClock::now() < acceptAt_ ? acceptAt_ : SteadyClock::time_point::max();
    if (listening_) {
        next = std::min(next, lookAt_);
    }
    for (const Client &client : clients_) {
        next = std::min(next, client.deadline());
    }
    return next;
}

// ---- Clients

void SocketListener::takeRequests(CommandQueue &commands) {
    readClients(commands);
    for (int accepted = 0; accepted < kMaxAcceptsPerTurn && hasRoom(commands) && acceptClient(); ++accepted) {
    }
    lookAfterPlace();
}

bool SocketListener::hasRoom(const CommandQueue &commands) const {
    return clients_.size() + commands.size() < kMaxClients && SteadyClock::now() >= acceptAt_;
}

/// \return whether there was one, trusted or not.
bool SocketListener::acceptClient() {
    UniqueFd connection(accept4(listening_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection) {
        const bool lacksDescriptors = errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
        acceptAt_ = lacksDescriptors ? SteadyClock::now() + kAcceptPause : SteadyClock::time_point();
        return false;
    }
    if (isTrusted(connection)) {
        clients_.emplace_back(std::move(connection), SteadyClock::now() + options_.requestTimeout);
    }
    return true;
}

bool SocketListener::isTrusted(const UniqueFd &connection) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && options_.isTrusted(peer.uid)) {
        return true;
    }
    if (refusedUsers_.insert(peer.uid).second) { // NB: once; a stranger may come as often as he likes
        logLine("Refused a client of the user " + std::to_string(peer.uid) + ".");
    }
    return false;
}

/// Reads in the order of arrival, which so becomes the order of the commands.
void SocketListener::readClients(CommandQueue &commands) {
    clients_.remove_if([&](Client &client) {
        const Client::State state = client.read();
        if (state == Client::State::Complete) {
            admit(client, commands);
        } else if (state == Client::State::Broken) {
            logLine("Dropped a client that broke off or sent no message.");
        } else if (SteadyClock::now() >= client.deadline()) {
            logLine("Dropped a client that was too slow.");
        } else {
            return false;
        }
        return true;
    });
}

void SocketListener::admit(Client &client, CommandQueue &commands) const {
    std::optional<CommandRequest> request = readRequest(client.message());
    if (!request) {
        logLine("Refused a message that is no request.");
        return;
    }
    if (request->progressFilePath) {
        if (!isProgressFile(*request->progressFilePath)) {
            logLine("Refused to write to " + *request->progressFilePath);
            return;
        }
        request->progressFilePath = options_.systemRoot + kProgressMessageFile;
    }
    const auto admitted = std::make_shared<Client>(std::move(client));
    request->answer = answerOn(admitted);
    request->isConnected = [admitted] { return admitted->isConnected(); };
    if (request->progressFilePath) { // NB: the client must not see its request taken before its file is made
        request->fileIsMade = [admitted] { admitted->takeLastByte(); };
    } else {
        admitted->takeLastByte();
    }
    commands.add(std::move(*request));
}

/// Whether \p path is the one file's. The client may know the folder that plays "/" by another name, through a link.
bool SocketListener::isProgressFile(const std::string &path) const {
    return path.ends_with(kProgressMessageFile) &&
           isSameFolder(path.substr(0, path.size() - std::string_view(kProgressMessageFile).size()),
                        options_.systemRoot);
}

// ---- The end

void SocketListener::closeNow() {
    listening_.reset();
    clients_.clear();
}

/// Whoever comes next finds no socket, or another's, and starts a helper that waits for the end of this one.
void SocketListener::lookAfterPlace() {
    if (listening_ && SteadyClock::now() >= lookAt_) {
        lookAt_ = SteadyClock::now() + kLookInterval;
        if (place_ && !isInPlace()) {
            close();
        }
    }
}

/// Those who came before the socket was shut are served, and those who come later find nobody and start a new helper.
void SocketListener::close() {
    const UniqueFd lock = place_ ? place_->tryLock() : UniqueFd();
    if (place_ && !lock && errno == EWOULDBLOCK) { // somebody is about to connect
        return;
    }
    const bool wasInPlace = removeSocket();
    shutdown(listening_.get(), SHUT_RD);
    while (acceptClient()) {
    }
    listening_.reset();
    if (wasInPlace && isBusy()) {
        listening_ = place_->listen();
        myEntry_ = place_->entry();
    }
}

bool SocketListener::isInPlace() const {
    const std::optional<struct stat> there = place_ ? place_->entry() : std::nullopt;
    return there && myEntry_ && isSame(*there, *myEntry_);
}

/// \return whether the socket that was at its place was this service's.
bool SocketListener::removeSocket() const {
    const bool isMine = isInPlace();
    if (isMine) {
        place_->remove();
    }
    return isMine;
}

std::function<bool(uid_t)> trustRootAndOwner(const std::string &systemRoot) {
    // NB: held open, since another folder may get its name.
    const auto folder =
        std::make_shared<UniqueFd>(::open((systemRoot + "/").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return [folder](uid_t uid) {
        struct stat root {};
        return uid == 0 || (fstat(folder->get(), &root) == 0 && root.st_uid == uid);
    };
}

} // namespace kyb::helper
