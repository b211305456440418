#include "linux/Service.h"

#include "channel/ServiceSocket.h"
#include "channel/channel_message.h"
#include "channel/message_keys.h"
#include "helper_log.h"
#include "helper_signals.h"
#include "linux/Client.h"
#include "linux/request.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <list>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <vector>

namespace kyb::helper {
namespace {

using namespace std::chrono_literals;
using TimePoint = SteadyClock::time_point;

constexpr std::size_t kMaxClients = 32;

/// How soon the end is tried again when somebody else holds the service's lock.
constexpr auto kEndRetry = 10ms;

/// Sends \p reply as a client's one answer. A client that is gone does not get it.
void sendReply(const UniqueFd &connection, const std::string &reply) {
    if (const std::optional<std::string> frame = encodeFrame({{kReplyKey, reply}})) {
        [[maybe_unused]] const ssize_t ignored =
            send(connection.get(), frame->data(), frame->size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
}

int millisecondsUntil(TimePoint time) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - SteadyClock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds>(left, 0ms, 1h).count());
}

bool isSameFolder(const std::string &one, const std::string &other) {
    struct stat first {};
    struct stat second {};
    return stat((one + "/").c_str(), &first) == 0 && stat((other + "/").c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

class Service {
public:
    Service(UniqueFd listening, ServiceOptions options)
        : options_(std::move(options)), listening_(std::move(listening)), commands_(options_.commands) {
        if ((place_ = ServiceSocket::open(options_.systemRoot, kHelperServiceName))) {
            myEntry_ = place_->entry();
        }
    }

    int run() {
        const int signals = watchSignals();
        idleUntil_ = SteadyClock::now() + options_.idle;
        for (;;) {
            waitForWork(signals);
            if (takeSignals() == Wish::End) {
                stop();
            }
            readClients();
            acceptClients(Take::WhileThereIsRoom);
            commands_.work();
            if (isIdle() && endIfNobodyComes()) {
                return 0;
            }
        }
    }

private:
    bool isIdle() const { return clients_.empty() && commands_.isEmpty(); }

    bool hasRoom() const { return clients_.size() + commands_.size() < kMaxClients; }

    void waitForWork(int signals) {
        if (!isIdle()) {
            idleUntil_ = SteadyClock::now() + options_.idle;
        }
        std::vector<pollfd> wanted;
        const auto want = [&wanted](int fd) { wanted.push_back({.fd = fd, .events = POLLIN, .revents = 0}); };
        want(signals);
        want(hasRoom() ? listening_.get() : -1); // poll() passes over a negative one
        want(commands_.outputFd());
        for (const Client &client : clients_) {
            want(client.fd());
        }
        poll(wanted.data(), wanted.size(), millisecondsUntil(nextDeadline()));
    }

    TimePoint nextDeadline() const {
        TimePoint next = isIdle() ? idleUntil_ : TimePoint::max();
        next = std::min(next, commands_.deadline());
        for (const Client &client : clients_) {
            next = std::min(next, client.deadline());
        }
        return next;
    }

    // ---- Clients

    enum class Take { WhileThereIsRoom, All };

    void acceptClients(Take take) {
        while (listening_ && (take == Take::All || hasRoom())) {
            UniqueFd connection(accept4(listening_.get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (!connection) {
                return;
            }
            if (isTrusted(connection)) {
                clients_.emplace_back(std::move(connection), SteadyClock::now() + options_.requestTimeout);
            }
        }
    }

    bool isTrusted(const UniqueFd &connection) const {
        ucred peer{};
        socklen_t size = sizeof peer;
        if (getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && options_.isTrusted(peer.uid)) {
            return true;
        }
        logLine("Refused a client of the user " + std::to_string(peer.uid) + ".");
        return false;
    }

    /// Reads in the order of arrival, which so becomes the order of the commands.
    void readClients() {
        clients_.remove_if([this](Client &client) {
            const Client::State state = client.read();
            if (state == Client::State::Complete) {
                admit(client);
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

    void admit(Client &client) {
        std::optional<Request> request = readRequest(client.message());
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
        // The progress file is made before the client can see its request taken, and refused before the client is let
        // go.
        auto connection = std::make_shared<UniqueFd>();
        commands_.add({.commandLine = std::move(request->commandLine),
                       .progressFilePath = std::move(request->progressFilePath),
                       .answer = [connection](const std::optional<std::string> &reply) {
                           if (reply) {
                               sendReply(*connection, *reply);
                           }
                           connection->reset();
                       }});
        client.takeLastByte();
        *connection = client.takeConnection();
    }

    /// Whether \p path is the one file's. The client may know the folder that plays "/" by another name, through a
    /// link.
    bool isProgressFile(const std::string &path) const {
        return path.ends_with(kProgressMessageFile) &&
               isSameFolder(path.substr(0, path.size() - std::string_view(kProgressMessageFile).size()),
                            options_.systemRoot);
    }

    // ---- The end

    void stop() {
        logLine("Asked to end.");
        listening_.reset();
        clients_.clear();
        commands_.endAll();
    }

    /// Ends the service when its time has come, such that no client is lost: those who came before the socket was shut
    /// are served, and those who come later find nobody and start a new helper. \return whether the process may end.
    bool endIfNobodyComes() {
        if (!listening_) {
            return true;
        }
        if (SteadyClock::now() < idleUntil_) {
            return false;
        }
        const UniqueFd lock = place_ ? place_->tryLock() : UniqueFd();
        if (place_ && !lock && errno == EWOULDBLOCK) { // somebody is about to connect
            idleUntil_ = SteadyClock::now() + kEndRetry;
            return false;
        }
        const bool wasInPlace = removeSocket();
        shutdown(listening_.get(), SHUT_RD);
        acceptClients(Take::All);
        if (isIdle()) {
            logLine("Nothing to do; end.");
            return true;
        }
        listening_ = wasInPlace ? listenAgain() : UniqueFd();
        return false;
    }

    /// \return whether the socket that was at its place was this service's.
    bool removeSocket() const {
        const std::optional<struct stat> there = place_ ? place_->entry() : std::nullopt;
        const bool isMine = there && myEntry_ && there->st_dev == myEntry_->st_dev && there->st_ino == myEntry_->st_ino;
        if (isMine) {
            place_->remove();
        }
        return isMine;
    }

    UniqueFd listenAgain() {
        UniqueFd listening = place_->listen();
        myEntry_ = place_->entry();
        return listening;
    }

    ServiceOptions options_;
    UniqueFd listening_;
    std::optional<ServiceSocket> place_;
    std::optional<struct stat> myEntry_;
    std::list<Client> clients_;
    CommandQueue commands_;
    TimePoint idleUntil_;
};

} // namespace

std::function<bool(uid_t)> trustRootAndOwner(const std::string &systemRoot) {
    const std::string folder = systemRoot.empty() ? "/" : systemRoot;
    return [folder](uid_t uid) {
        struct stat root {};
        return uid == 0 || (stat(folder.c_str(), &root) == 0 && root.st_uid == uid);
    };
}

int serve(UniqueFd listening, ServiceOptions options) {
    umask(022);
    if (chdir("/") != 0) {
        return 1;
    }
    fcntl(listening.get(), F_SETFD, FD_CLOEXEC);
    fcntl(listening.get(), F_SETFL, fcntl(listening.get(), F_GETFL) | O_NONBLOCK);
    logLine("Ready.");
    return Service(std::move(listening), std::move(options)).run();
}

} // namespace kyb::helper
