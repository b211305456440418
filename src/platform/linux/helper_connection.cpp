#include "platform/helper_connection.h"

#include "base/threads.h"
#include "channel/FrameReader.h"
#include "channel/ServiceSocket.h"
#include "channel/channel_message.h"
#include "channel/message_keys.h"
#include "platform/clock.h"
#include "platform/linux/helper_launch.h"
#include "platform/linux/taken_timeout.h"
#include "platform/posix/connection_events.h"
#include "platform/system_root.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <variant>

namespace kyb {

struct OpaqueHelperConnection {
    std::string serviceName;
    ConnectionEventHandler eventHandler;
    std::chrono::milliseconds takenTimeout = kTakenTimeout;
};

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kLockTimeout = 5s;
constexpr auto kPollInterval = 200us;

/// Looks at \p condition again and again until it holds. \return whether it did within \p timeout.
template <typename Condition> bool waitUntil(Condition condition, Clock::duration timeout) {
    const Clock::time_point deadline = Clock::now() + timeout;
    while (!condition()) {
        if (Clock::now() >= deadline) {
            return false;
        }
        sleepFor(kPollInterval);
    }
    return true;
}

// ---- Reaching the helper

/// A connection to the service, or why there is none.
using Reached = std::variant<UniqueFd, ConnectionEventKind>;

std::string localPath(const char *fixedPath) {
    return QFile::encodeName(systemPath(QString::fromLatin1(fixedPath))).toStdString();
}

std::string systemRoot() {
    const std::string root = localPath("/");
    return root == "/" ? std::string() : root;
}

/// Where the program lies that publishes \p serviceName, registered and fit to be started; empty when there is none.
std::string registeredHelper(const std::string &serviceName) {
    if (serviceName != kHelperServiceName) {
        return {};
    }
    const std::string path = localPath("/Library/PrivilegedHelperTools/") + kHelperLabel;
    return access(path.c_str(), X_OK) == 0 ? path : std::string();
}

bool nobodyListens(int connectError) {
    return connectError == ENOENT || connectError == ECONNREFUSED;
}

/// Starts the registered helper behind a new socket and connects to it. Only while the service's lock is held.
///
/// The client makes the socket and hands it over, as launchd does: connections queue up in it from now on, however long
/// the helper takes to start. A helper that made its own would have to be waited for, and clients would be refused
/// meanwhile.
Reached startAndConnect(const ServiceSocket &service, const std::string &serviceName) {
    const std::string helper = registeredHelper(serviceName);
    if (helper.empty()) {
        return ConnectionEventKind::Invalid;
    }
    UniqueFd listening = service.listen();
    if (!listening) {
        return ConnectionEventKind::OtherError;
    }
    launchHelper(helper, systemRoot(), listening);
    listening.reset();
    UniqueFd connection = service.connect();
    return connection ? Reached(std::move(connection)) : ConnectionEventKind::Interrupted; // it has ended already
}

Reached reachHelper(const std::string &serviceName) {
    const std::optional<ServiceSocket> service = ServiceSocket::open(systemRoot(), serviceName);
    if (!service) {
        return ConnectionEventKind::Invalid;
    }
    if (UniqueFd connection = service->connect()) {
        return connection;
    }
    if (!nobodyListens(errno)) {
        return ConnectionEventKind::OtherError;
    }
    if (registeredHelper(serviceName).empty()) {
        return ConnectionEventKind::Invalid;
    }
    UniqueFd lock;
    const auto locked = [&] { return (lock = service->tryLock()) || errno != EWOULDBLOCK; };
    if (!waitUntil(locked, kLockTimeout)) {
        return ConnectionEventKind::OtherError;
    }
    if (!lock) { // whoever may not have it may not start a helper either
        return ConnectionEventKind::Invalid;
    }
    if (UniqueFd connection = service->connect()) {
        return connection;
    }
    return nobodyListens(errno) ? startAndConnect(*service, serviceName) : ConnectionEventKind::OtherError;
}

// ---- One message and its reply

/// A message on its way, and what comes back.
class Exchange {
public:
    Exchange(UniqueFd connection, std::string frame) : connection_(std::move(connection)), unsent_(std::move(frame)) {}

    /// Sends what the connection takes without waiting. What a helper that is gone does not take is dropped.
    void sendSome() {
        while (!unsent_.empty()) {
            const ssize_t sent = send(connection_.get(), unsent_.data(), unsent_.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            if (sent >= 0) {
                unsent_.erase(0, static_cast<std::size_t>(sent));
            } else if (errno == EAGAIN) {
                return;
            } else if (errno != EINTR) {
                unsent_.clear();
            }
        }
    }

    /// Sends all and waits until the helper has taken it out of the connection, or gone.
    ///
    /// What we would like to wait for is the progress file. But whatever lies in its place may be another's, and the
    /// reply comes only when the command has ended. The connection's output queue is the one thing that the helper can
    /// empty at a moment of its choice: it leaves the last byte in there until it has made the file.
    ///
    /// \return whether that was within \p timeout.
    bool sendAndWaitUntilTaken(Clock::duration timeout) {
        return waitUntil(
            [this] {
                sendSome();
                int queuedBytes = 0;
                return unsent_.empty() && (ioctl(connection_.get(), SIOCOUTQ, &queuedBytes) != 0 || queuedBytes == 0);
            },
            timeout);
    }

    /// Sends the rest and waits for the reply, as long as it takes: a command may run for hours.
    std::variant<ChannelMessage, ConnectionEventKind> waitForReply() {
        for (;;) {
            waitForConnection();
            sendSome();
            if (!receiveSome()) {
                return ConnectionEventKind::Interrupted;
            }
            if (received_.missingBytes() == 0) {
                return decoded();
            }
        }
    }

    /// Leaves the connection open until the process ends.
    void stay() { connection_.release(); }

private:
    void waitForConnection() {
        pollfd wanted{.fd = connection_.get(), .events = POLLIN, .revents = 0};
        if (!unsent_.empty()) {
            wanted.events |= POLLOUT;
        }
        poll(&wanted, 1, -1);
    }

    /// \return whether the helper is still there.
    bool receiveSome() {
        char chunk[4096];
        const ssize_t count = recv(connection_.get(), chunk, sizeof chunk, MSG_DONTWAIT);
        if (count < 0) {
            return errno == EAGAIN || errno == EINTR;
        }
        received_.add({chunk, static_cast<std::size_t>(count)});
        return count > 0;
    }

    /// What came; a refused length and a message that is no dictionary are the same error.
    std::variant<ChannelMessage, ConnectionEventKind> decoded() const {
        if (received_.state() == FrameReader::State::Complete) {
            if (std::optional<ChannelMessage> message = decodeMessage(received_.message())) {
                return std::move(*message);
            }
        }
        return ConnectionEventKind::OtherError;
    }

    UniqueFd connection_;
    std::string unsent_;
    FrameReader received_;
};

std::optional<std::string> frameOf(const HelperMessage &message) {
    std::vector<std::pair<std::string, std::string>> texts;
    for (const auto &[key, text] : message) {
        texts.emplace_back(key, text.toStdString());
    }
    return encodeFrame(texts);
}

bool namesProgressFile(const HelperMessage &message) {
    return std::any_of(message.begin(), message.end(),
                       [](const auto &entry) { return std::string_view(entry.first) == kInstallerLogPathKey; });
}

/// The message, sent as far as it can be without waiting for a reply, or why it could not be.
std::variant<Exchange, ConnectionEventKind> begin(const OpaqueHelperConnection &connection,
                                                  const HelperMessage &message) {
    std::optional<std::string> frame = frameOf(message);
    if (!frame) {
        return ConnectionEventKind::OtherError;
    }
    Reached reached = reachHelper(connection.serviceName);
    if (const auto *failure = std::get_if<ConnectionEventKind>(&reached)) {
        return *failure;
    }
    Exchange exchange(std::get<UniqueFd>(std::move(reached)), std::move(*frame));
    if (!namesProgressFile(message)) {
        exchange.sendSome();
    } else if (!exchange.sendAndWaitUntilTaken(connection.takenTimeout)) {
        return ConnectionEventKind::Interrupted; // NB: what lies in the progress file's place is another's
    }
    return exchange;
}

std::optional<QByteArray> replyText(const ChannelMessage &reply) {
    const auto text = reply.find(kReplyKey);
    if (text == reply.end() || !text->second) {
        return {};
    }
    return QByteArray::fromStdString(*text->second);
}

/// Who is told how one message ended.
struct Listener {
    ConnectionEventHandler eventHandler;
    ReplyHandler replyHandler;
};

void deliverReply(const Listener &listener, const std::optional<QByteArray> &reply) {
    if (listener.replyHandler) {
        onMainThread([handler = listener.replyHandler, reply] { handler(reply); });
    }
}

void deliverEvent(const Listener &listener, ConnectionEventKind kind) {
    if (listener.eventHandler) {
        listener.eventHandler({.kind = kind, .typeDescription = {}});
    }
    deliverReply(listener, {}); // the error object in place of a reply
}

void deliver(const Listener &listener, const std::variant<ChannelMessage, ConnectionEventKind> &outcome) {
    if (const auto *reply = std::get_if<ChannelMessage>(&outcome)) {
        deliverReply(listener, replyText(*reply));
    } else {
        deliverEvent(listener, std::get<ConnectionEventKind>(outcome));
    }
}

} // namespace

HelperConnection createHelperConnection(const char *serviceName) {
    return new OpaqueHelperConnection{.serviceName = serviceName, .eventHandler = {}};
}

void setConnectionEventHandler(HelperConnection connection, ConnectionEventHandler handler) {
    if (connection != nullptr) {
        connection->eventHandler = std::move(handler);
    }
}

void setTakenTimeout(HelperConnection connection, std::chrono::milliseconds timeout) {
    connection->takenTimeout = timeout;
}

void resumeConnection(HelperConnection) {}

void sendMessageWithReply(HelperConnection connection, const HelperMessage &message, ReplyHandler replyHandler) {
    if (connection == nullptr) {
        return;
    }
    const PendingEvents::Serial event = connectionEvents().add();
    Listener listener{.eventHandler = connection->eventHandler, .replyHandler = std::move(replyHandler)};
    auto begun = std::make_shared<std::variant<Exchange, ConnectionEventKind>>(begin(*connection, message));
    if (const auto *failure = std::get_if<ConnectionEventKind>(begun.get())) {
        inBackground([listener, kind = *failure, event] {
            deliverEvent(listener, kind);
            connectionEvents().settle(event);
        });
    } else {
        connectionEvents().settle(event); // a registration waits for the news of a missing helper, not for a reply
        inBackground([listener, begun, stays = namesProgressFile(message)] {
            auto &exchange = std::get<Exchange>(*begun);
            deliver(listener, exchange.waitForReply());
            if (stays) { // NB: the helper takes a close for the proof that nobody looks at the file any more
                exchange.stay();
            }
        });
    }
}

void releaseConnection(HelperConnection connection) {
    delete connection;
}

} // namespace kyb
