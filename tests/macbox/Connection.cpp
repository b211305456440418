#include "Connection.h"

#include "box.h"

#include <Block.h>
#include <condition_variable>
#include <map>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

// Connections, over the box's sockets. What is said of a promise is what the page on XPC connections of the system's
// developer documentation promises.

namespace macbox {
namespace {

using kyb::UniqueFd;

xpc_object_t mutableObject(const void *object) {
    return const_cast<xpc_object_t>(object);
}

/// A message's texts: key, text, key, text, ...
_xpc_dictionary_s *dictionaryOf(const Frame &frame) {
    auto *made = makeDictionary();
    for (std::size_t i = 0; i + 1 < frame.texts.size(); i += 2) {
        made->strings.emplace_back(frame.texts[i], frame.texts[i + 1]);
    }
    return made;
}
std::vector<std::string> textsOf(const _xpc_dictionary_s &dictionary) {
    std::vector<std::string> texts;
    for (const auto &[key, text] : dictionary.strings) {
        texts.insert(texts.end(), {key, text});
    }
    return texts;
}

/// This program's code, as its peers see it.
Texts ownCode() {
    static const Texts own = signatureOf("/proc/self/exe").value_or(Signature()).facts;
    Texts code = isSet("code", "unsigned") ? Texts() : own;
    if (isSet("code", "stranger")) {
        code["certificate leaf[subject.OU]"] = "XY98ZW76VU";
    } else if (isSet("code", "old")) {
        code["info[CFBundleVersion]"] = "0.9.12";
    }
    return code;
}

/// Wakes a thread that waits for a socket.
class Wake {
public:
    int fd() const { return event_.get(); }
    void operator()() const {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t ignored = write(event_.get(), &one, sizeof one);
    }
    void clear() const {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t ignored = read(event_.get(), &count, sizeof count);
    }

private:
    UniqueFd event_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
};

/// Waits for a wake or for \p socket, if there is one. \return whether the socket can be read.
bool waitFor(const Wake &wake, int socket) {
    pollfd wanted[2] = {{wake.fd(), POLLIN, 0}, {socket, POLLIN, 0}};
    poll(wanted, socket < 0 ? 1 : 2, -1);
    wake.clear();
    return socket >= 0 && wanted[1].revents != 0;
}

} // namespace

// ---- Every connection

/// Promise: a handler that runs meanwhile ends in peace; the new one gets the next event.
void Connection::setHandler(xpc_handler_t handler) {
    xpc_handler_t copy = nullptr;
    if (handler != nullptr) {
        copy = Block_copy(handler);
    }
    xpc_handler_t before = nullptr;
    {
        const std::lock_guard lock(mutex_);
        before = std::exchange(handler_, copy);
    }
    if (before != nullptr) {
        Block_release(before);
    }
}

xpc_handler_t Connection::copyHandler() {
    const std::lock_guard lock(mutex_);
    if (handler_ == nullptr) {
        return nullptr;
    }
    return Block_copy(handler_);
}

void Connection::setQueue(dispatch_queue_t queue) {
    const std::lock_guard lock(mutex_);
    queue_ = queue;
}

dispatch_queue_t Connection::queue() {
    const std::lock_guard lock(mutex_);
    if (queue_ == nullptr) {
        queue_ = makeQueue();
    }
    return queue_;
}

void Connection::raise(const void *event, std::function<void()> after) {
    xpc_retain(mutableObject(event));
    queue()->add([self = shared_from_this(), event, after = std::move(after)] {
        if (const xpc_handler_t handler = self->copyHandler()) {
            handler(mutableObject(event));
            Block_release(handler);
        }
        xpc_release(mutableObject(event));
        if (after) {
            after();
        }
    });
}

_xpc_dictionary_s *makeDictionary() {
    countObject(+1);
    return new _xpc_dictionary_s(XPC_TYPE_DICTIONARY);
}

// ---- A client's

namespace {

class Client final : public Connection {
public:
    Client(std::string service, dispatch_queue_t queue) : Connection(queue), service_(std::move(service)) {}

    const char *kind() const override { return "connection"; }

    void resume() override {
        if (!isResumed_.exchange(true)) {
            onOwnThread([self = std::static_pointer_cast<Client>(shared_from_this())] { self->run(); });
        }
    }

    void cancel() override {
        if (!isOver_.exchange(true)) {
            tell(XPC_ERROR_CONNECTION_INVALID);
            wake_();
        }
    }

    /// Promise: none for a connection that was never resumed, so that it ends the program here. Of one that was, the
    /// last release is its end; whether that is an event is not said.
    void abandon() override {
        if (!isResumed_) {
            std::abort();
        }
        if (isSet("last release", "invalid")) {
            cancel();
        }
        isOver_ = true;
        wake_();
        queue()->add([self = shared_from_this()] { self->setHandler(nullptr); });
    }

    void send(_xpc_dictionary_s &message) override {
        {
            const std::lock_guard lock(mutex_);
            unsent_.push_back({Frame::Kind::Message, 0, textsOf(message)}); // nobody waits for a reply
        }
        wake_();
    }

    void ask(xpc_connection_t handle, const _xpc_dictionary_s &message, dispatch_queue_t queue,
             xpc_handler_t handler) override {
        xpc_retain(handle); // a reply that is waited for keeps the connection
        {
            const std::lock_guard lock(mutex_);
            const std::uint64_t number = ++lastNumber_;
            pending_[number] = {handle, queue, Block_copy(handler)};
            unsent_.push_back({Frame::Kind::Message, number, textsOf(message)});
        }
        wake_();
    }

private:
    struct Pending {
        xpc_connection_t handle;
        dispatch_queue_t queue;
        xpc_handler_t handler;
    };

    /// Promise: the service is looked up, and started, with the first message.
    void run() {
        while (!isOver_) {
            const bool isReadable = waitFor(wake_, socket_.get());
            if (isOver_) {
                break;
            }
            if (!socket_ && hasUnsent() && !connect()) {
                fail(XPC_ERROR_CONNECTION_INVALID);
                break;
            }
            sendAll();
            if (isReadable) {
                receiveOne();
            }
        }
        socket_.reset();
    }

    /// Promise: a service that nobody publishes makes the connection invalid.
    bool connect() {
        delayAt("connection");
        if (!askLaunchd(root(), {"look up", service_})) {
            return false;
        }
        socket_ = connectTo(ownFile("services/" + service_));
        macbox::send(socket_.get(), {Frame::Kind::Hello, 0, {encode(ownCode())}});
        return bool(socket_);
    }

    bool hasUnsent() {
        const std::lock_guard lock(mutex_);
        return !unsent_.empty();
    }

    void sendAll() {
        const std::lock_guard lock(mutex_);
        for (const Frame &frame : std::exchange(unsent_, {})) {
            macbox::send(socket_.get(), frame); // that the peer has gone is read as well
        }
    }

    void receiveOne() {
        const std::optional<Frame> frame = receive(socket_.get());
        if (!frame) {
            // Promise: when the service has ended, the same connection reaches it anew, with the next message. What a
            // service that goes on and has cut its client off leaves of the connection is not said.
            socket_.reset();
            fail(isSet("cut off", "invalid") ? XPC_ERROR_CONNECTION_INVALID : XPC_ERROR_CONNECTION_INTERRUPTED);
        } else if (frame->kind == Frame::Kind::Reply) {
            delayAt("reply");
            _xpc_dictionary_s *reply = dictionaryOf(*frame);
            settle(frame->number, reply);
            xpc_release(reply);
        } else if (frame->kind == Frame::Kind::Message) {
            _xpc_dictionary_s *message = dictionaryOf(*frame);
            raise(message);
            xpc_release(message);
        } else if (frame->kind == Frame::Kind::Notice) {
            raise(XPC_ERROR_TERMINATION_IMMINENT);
        } else {
            isOver_ = true; // launchd takes the service back
            fail(XPC_ERROR_CONNECTION_INVALID);
        }
    }

    /// Tells the connection, and whoever waits for a reply, in whichever order.
    void fail(const void *error) {
        isOver_ = isOver_ || error == XPC_ERROR_CONNECTION_INVALID;
        delayAt("event");
        tell(error);
    }

    void tell(const void *error) {
        const bool eventFirst = isSet("error order", "event");
        if (eventFirst) {
            raise(error);
        }
        for (const std::uint64_t number : waiting()) {
            settle(number, error);
        }
        if (!eventFirst) {
            raise(error);
        }
    }

    std::vector<std::uint64_t> waiting() {
        const std::lock_guard lock(mutex_);
        std::vector<std::uint64_t> numbers;
        for (const auto &[number, each] : pending_) {
            numbers.push_back(number);
        }
        return numbers;
    }

    void settle(std::uint64_t number, const void *object) {
        std::unique_lock lock(mutex_);
        const auto found = pending_.find(number);
        if (found == pending_.end()) {
            return;
        }
        const Pending pending = found->second;
        pending_.erase(found);
        lock.unlock();
        xpc_retain(mutableObject(object));
        pending.queue->add([pending, object] {
            pending.handler(mutableObject(object));
            Block_release(pending.handler);
            xpc_release(mutableObject(object));
            xpc_release(pending.handle);
        });
    }

    const std::string service_;
    Wake wake_;
    UniqueFd socket_; ///< the thread's
    std::atomic<bool> isResumed_{false};
    std::atomic<bool> isOver_{false};
    std::mutex mutex_;
    std::vector<Frame> unsent_;
    std::map<std::uint64_t, Pending> pending_;
    std::uint64_t lastNumber_ = 0;
};

// ---- The end of a client's connection at the service

class Peer final : public Connection {
public:
    explicit Peer(UniqueFd socket) : Connection(nullptr), socket_(std::make_shared<UniqueFd>(std::move(socket))) {}

    const char *kind() const override { return "peer"; }

    void resume() override { set(isResumed_); }

    void cancel() override {
        shutdown(socket_->get(), SHUT_RDWR);
        set(isCancelled_);
    }

    /// As for a client's.
    void abandon() override {
        if (!isResumed_) {
            std::abort();
        }
        setHandler(nullptr);
    }

    /// Promise: a reply goes to whoever waits for it, once; what a second time does is not said, so that it ends the
    /// program here.
    void send(_xpc_dictionary_s &reply) override {
        const std::uint64_t number = std::exchange(reply.origin.number, 0);
        if (number == 0) {
            std::abort();
        }
        macbox::send(reply.origin.socket->get(), {Frame::Kind::Reply, number, textsOf(reply)});
    }

    uid_t peerUser() const override {
        ucred peer{};
        socklen_t size = sizeof peer;
        getsockopt(socket_->get(), SOL_SOCKET, SO_PEERCRED, &peer, &size);
        return peer.uid;
    }

    /// Hands over what comes until the client has gone or is cut off; then gives the system's reference back.
    void run(xpc_connection_t handle) {
        const std::optional<Frame> hello = receive(socket_->get());
        sender_ = std::make_shared<const Texts>(hello ? decode(hello->texts.front()) : Texts());
        waitUntilResumed();
        for (std::optional<Frame> frame; !isCancelled_ && (frame = receive(socket_->get()));) {
            if (!isCancelled_) {
                deliver(*frame);
            }
        }
        shutdown(socket_->get(), SHUT_RDWR);
        delayAt("departure");
        raise(XPC_ERROR_CONNECTION_INVALID, [handle] { xpc_release(handle); });
    }

private:
    void set(std::atomic<bool> &flag) {
        const std::lock_guard lock(mutex_);
        flag = true;
        changed_.notify_all();
    }
    void waitUntilResumed() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return isResumed_ || isCancelled_; });
    }

    void deliver(const Frame &frame) {
        delayAt("message");
        _xpc_dictionary_s *message = dictionaryOf(frame);
        message->origin = {socket_, frame.number, sender_};
        raise(message);
        xpc_release(message);
    }

    const std::shared_ptr<UniqueFd> socket_;
    std::shared_ptr<const Texts> sender_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::atomic<bool> isResumed_{false};
    std::atomic<bool> isCancelled_{false};
};

// ---- The service's

class Listener final : public Connection {
public:
    Listener(std::string service, dispatch_queue_t queue) : Connection(queue), service_(std::move(service)) {}

    const char *kind() const override { return "listener"; }

    void resume() override {
        isResumed_ = true;
        onOwnThread([self = std::static_pointer_cast<Listener>(shared_from_this())] { self->run(); });
    }
    void cancel() override {
        isCancelled_ = true;
        wake_();
    }
    void abandon() override {
        if (!isResumed_) {
            std::abort();
        }
        cancel();
    }

private:
    /// Who has connected when it is cancelled, and was not taken, waits for the next listener.
    void run() {
        UniqueFd listening;
        if (askLaunchd(root(), {"check in", service_}, &listening)) {
            while (!isCancelled_) {
                if (waitFor(wake_, listening.get()) && !isCancelled_) {
                    introduce(UniqueFd(accept4(listening.get(), nullptr, nullptr, SOCK_CLOEXEC)));
                }
            }
        }
        delayAt("closing");
        raise(XPC_ERROR_CONNECTION_INVALID);
    }

    void introduce(UniqueFd socket) {
        const auto peer = std::make_shared<Peer>(std::move(socket));
        const auto handle = new _xpc_connection_s(peer);
        raise(handle);
        onOwnThread([peer, handle] { peer->run(handle); });
    }

    const std::string service_;
    Wake wake_;
    std::atomic<bool> isResumed_{false};
    std::atomic<bool> isCancelled_{false};
};

} // namespace

std::shared_ptr<Connection> makeClient(const std::string &service, dispatch_queue_t queue) {
    return std::make_shared<Client>(service, queue);
}

std::shared_ptr<Connection> makeListener(const std::string &service, dispatch_queue_t queue) {
    return std::make_shared<Listener>(service, queue);
}

} // namespace macbox
