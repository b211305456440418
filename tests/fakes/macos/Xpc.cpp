#include "Queue.h"

#include "posix/NoDestructor.h"

#include <Block.h>
#include <atomic>
#include <cstdlib>
#include <list>
#include <memory>
#include <set>
#include <utility>

// A mach service is a listener in this process. A client gets a peer at the listener with its first message; a message
// that wants a reply carries a pending reply, which is settled once: by a reply, by an error, or not at all.

struct _xpc_type_s {
    const char *name;
};

namespace {

struct Header {
    const _xpc_type_s *type;
};

struct Pending;

} // namespace

struct _xpc_dictionary_s : Header {
    explicit _xpc_dictionary_s(const _xpc_type_s *objectType) : Header{objectType} {}
    std::atomic<int> references{1};
    std::map<std::string, std::string> strings;
    std::shared_ptr<Pending> pending; ///< of a request that wants a reply, and of the reply made for it
};

struct _xpc_connection_s : Header {
    _xpc_connection_s(std::string name, dispatch_queue_t queue, bool isListener);
    ~_xpc_connection_s();

    std::atomic<int> references{1};
    const std::string serviceName;
    dispatch_queue_t queue;
    const bool isListener;
    std::mutex mutex; ///< guards what follows
    xpc_handler_t handler = nullptr;
    bool resumed = false;
    bool cancelled = false;
    bool hasRequirement = false;
    void *context = nullptr;
    _xpc_connection_s *peer = nullptr; ///< of a client: its end at the listener, owned
    std::list<std::weak_ptr<Pending>> unanswered;
};

extern "C" {
const struct _xpc_type_s _xpc_type_connection = {"connection"};
const struct _xpc_type_s _xpc_type_dictionary = {"dictionary"};
const struct _xpc_type_s _xpc_type_error = {"error"};
const struct _xpc_type_s _xpc_type_string = {"string"};
const struct _xpc_dictionary_s _xpc_error_connection_interrupted(&_xpc_type_error);
const struct _xpc_dictionary_s _xpc_error_connection_invalid(&_xpc_type_error);
const struct _xpc_dictionary_s _xpc_error_termination_imminent(&_xpc_type_error);
}

namespace {

xpc_object_t mutableObject(const void *object) {
    return const_cast<xpc_object_t>(object);
}
const Header *header(const void *object) {
    return static_cast<const Header *>(object);
}
_xpc_dictionary_s *dictionary(xpc_object_t object) {
    return static_cast<_xpc_dictionary_s *>(object);
}

_xpc_dictionary_s *makeDictionary(const std::map<std::string, std::string> &strings) {
    auto *made = dictionary(xpc_dictionary_create(nullptr, nullptr, 0));
    made->strings = strings;
    return made;
}

/// Runs \p handler, which it takes over, with \p object on \p queue; the object lives until then.
void callAndRelease(dispatch_queue_t queue, xpc_handler_t handler, xpc_object_t object) {
    xpc_retain(object);
    queue->add([handler, object] {
        handler(object);
        Block_release(handler);
        xpc_release(object);
    });
}

void call(dispatch_queue_t queue, xpc_handler_t handler, xpc_object_t object) {
    callAndRelease(queue, Block_copy(handler), object);
}

/// A client that waits for a reply. Keeps its connection and its handler until it is settled.
struct Pending {
    Pending(xpc_connection_t client, dispatch_queue_t replyQueue, xpc_handler_t replyHandler)
        : connection(client), queue(replyQueue), handler(Block_copy(replyHandler)) {
        xpc_retain(connection);
    }
    ~Pending() { drop(); }

    void settle(xpc_object_t object) {
        if (!isSettled.exchange(true)) {
            callAndRelease(queue, handler, object);
            queue->add([client = connection] { xpc_release(client); });
        }
    }
    void drop() {
        if (!isSettled.exchange(true)) {
            Block_release(handler);
            xpc_release(connection);
        }
    }

    const xpc_connection_t connection;
    const dispatch_queue_t queue;
    const xpc_handler_t handler;
    std::atomic<bool> isSettled{false};
};

struct Services {
    std::mutex mutex;
    std::map<std::string, _xpc_connection_s *> listeners; ///< owned by whoever made them
    std::deque<std::shared_ptr<Pending>> held;
    std::set<_xpc_connection_s *> peers; ///< every living one
};
Services &services() {
    static kyb::NoDestructor<Services> services;
    return *services;
}

_xpc_connection_s *listenerFor(const std::string &name) {
    const std::lock_guard lock(services().mutex);
    const auto found = services().listeners.find(name);
    return found == services().listeners.end() ? nullptr : found->second;
}

/// Delivers an event; nothing when the connection has no handler or was not resumed.
void sendEvent(xpc_connection_t connection, xpc_object_t event) {
    xpc_handler_t handler = nullptr;
    {
        const std::lock_guard lock(connection->mutex);
        if (connection->resumed) {
            handler = connection->handler;
        }
    }
    if (handler != nullptr) {
        call(connection->queue, handler, event);
    }
}

/// Tells the connection's own side, once, that nothing more will come.
void endConnection(xpc_connection_t connection) {
    {
        const std::lock_guard lock(connection->mutex);
        if (std::exchange(connection->cancelled, true)) {
            return;
        }
    }
    sendEvent(connection, mutableObject(XPC_ERROR_CONNECTION_INVALID));
}

void failWith(const std::shared_ptr<Pending> &pending, const void *error) {
    sendEvent(pending->connection, mutableObject(error));
    pending->settle(mutableObject(error));
}

/// The client's end at the listener, made with its first message.
_xpc_connection_s *peerOf(xpc_connection_t client, xpc_connection_t listener) {
    const std::lock_guard lock(client->mutex);
    if (client->peer == nullptr) {
        client->peer = new _xpc_connection_s(client->serviceName, fake::defaultQueue(), false);
        const std::lock_guard servicesLock(services().mutex);
        services().peers.insert(client->peer);
        call(listener->queue, listener->handler, client->peer);
    }
    return client->peer;
}

/// On the listener's queue, behind what introduced the peer.
void deliverToPeer(_xpc_connection_s *peer, _xpc_dictionary_s *message) {
    bool accepted = false;
    {
        const std::lock_guard lock(peer->mutex);
        const bool satisfied = !peer->hasRequirement || fake::machine().clientSatisfiesRequirement;
        accepted = peer->resumed && !peer->cancelled && satisfied;
        if (accepted) {
            peer->unanswered.push_back(message->pending);
        }
    }
    if (accepted) {
        sendEvent(peer, message);
    } else {
        failWith(message->pending, XPC_ERROR_CONNECTION_INTERRUPTED);
    }
}

void route(xpc_connection_t client, xpc_connection_t listener, xpc_object_t request,
           const std::shared_ptr<Pending> &pending) {
    auto *message = makeDictionary(dictionary(request)->strings);
    message->pending = pending;
    _xpc_connection_s *const peer = peerOf(client, listener);
    xpc_retain(peer);
    listener->queue->add([peer, message] {
        deliverToPeer(peer, message);
        xpc_release(message);
        xpc_release(peer);
    });
}

std::vector<std::shared_ptr<Pending>> takeUnanswered(xpc_connection_t peer) {
    const std::lock_guard lock(peer->mutex);
    std::vector<std::shared_ptr<Pending>> taken;
    for (const std::weak_ptr<Pending> &each : peer->unanswered) {
        if (std::shared_ptr<Pending> pending = each.lock()) {
            taken.push_back(pending);
        }
    }
    peer->unanswered.clear();
    return taken;
}

void interruptClientsOf(xpc_connection_t peer) {
    for (const std::shared_ptr<Pending> &pending : takeUnanswered(peer)) {
        if (!pending->isSettled) {
            failWith(pending, XPC_ERROR_CONNECTION_INTERRUPTED);
        }
    }
}

std::string queueName(dispatch_queue_t queue) {
    return queue == nullptr ? "null" : queue == &_dispatch_main_q ? "main" : "own";
}
std::string connectionName(xpc_connection_t connection) {
    return connection == nullptr ? "null" : connection->isListener ? "listener" : "connection";
}
std::string describe(xpc_object_t object) {
    std::string text = "{";
    for (const auto &[key, value] : dictionary(object)->strings) {
        text += (text.size() > 1 ? ", " : "") + key + "=" + value;
    }
    return text + "}";
}

template <typename T> void releaseOne(T *object) {
    const int before = object->references--;
    if (before < 1) {
        std::abort();
    }
    if (before == 1) {
        delete object;
    }
}

} // namespace

_xpc_connection_s::_xpc_connection_s(std::string name, dispatch_queue_t targetQueue, bool listener)
    : Header{&_xpc_type_connection}, serviceName(std::move(name)),
      queue(targetQueue == nullptr ? fake::defaultQueue() : targetQueue), isListener(listener) {
    fake::countObject(+1);
}

_xpc_connection_s::~_xpc_connection_s() {
    {
        const std::lock_guard lock(services().mutex);
        services().peers.erase(this);
    }
    if (handler != nullptr) {
        Block_release(handler);
    }
    if (peer != nullptr) {
        endConnection(peer);
        peer->queue->add([end = peer] { xpc_release(end); });
    }
    fake::countObject(-1);
}

namespace fake {

void forgetServices() {
    std::deque<std::shared_ptr<Pending>> held;
    const std::lock_guard lock(services().mutex);
    services().listeners.clear();
    held.swap(services().held);
}

void forgetService(const char *serviceName) {
    const std::lock_guard lock(services().mutex);
    services().listeners.erase(serviceName);
}

void loseHelper(const char *serviceName) {
    std::vector<_xpc_connection_s *> peers;
    {
        const std::lock_guard lock(services().mutex);
        for (_xpc_connection_s *peer : services().peers) {
            if (peer->serviceName == serviceName) {
                xpc_retain(peer);
                peers.push_back(peer);
            }
        }
    }
    for (_xpc_connection_s *peer : peers) {
        interruptClientsOf(peer);
        xpc_release(peer);
    }
}

void deliverEvent(xpc_connection_t connection, const void *event) {
    sendEvent(connection, mutableObject(event));
    waitForQueues();
}

static std::shared_ptr<Pending> takeHeld() {
    const std::lock_guard lock(services().mutex);
    std::shared_ptr<Pending> oldest = services().held.front();
    services().held.pop_front();
    return oldest;
}

void deliverReply(const std::map<std::string, std::string> &strings) {
    auto *reply = makeDictionary(strings);
    takeHeld()->settle(reply);
    xpc_release(reply);
}

void deliverReply(const void *object) {
    takeHeld()->settle(mutableObject(object));
}

} // namespace fake

extern "C" {

xpc_object_t xpc_retain(xpc_object_t object) {
    if (header(object)->type == XPC_TYPE_CONNECTION) {
        ++static_cast<xpc_connection_t>(object)->references;
    } else if (header(object)->type == XPC_TYPE_DICTIONARY) {
        ++dictionary(object)->references;
    }
    return object;
}

void xpc_release(xpc_object_t object) {
    if (object == nullptr) {
        fake::record("xpc_release null");
    } else if (header(object)->type == XPC_TYPE_CONNECTION) {
        releaseOne(static_cast<xpc_connection_t>(object));
    } else if (header(object)->type == XPC_TYPE_DICTIONARY) {
        if (dictionary(object)->references == 1) {
            fake::countObject(-1);
        }
        releaseOne(dictionary(object));
    }
}

xpc_type_t xpc_get_type(xpc_object_t object) {
    return header(object)->type;
}
const char *xpc_type_get_name(xpc_type_t type) {
    return type->name;
}

xpc_object_t xpc_dictionary_create(const char *const *keys, const xpc_object_t *values, std::size_t count) {
    if (keys != nullptr || values != nullptr || count != 0) {
        return nullptr; // only an empty one can be made here
    }
    fake::countObject(+1);
    return new _xpc_dictionary_s(&_xpc_type_dictionary);
}
xpc_object_t xpc_dictionary_create_reply(xpc_object_t original) {
    if (dictionary(original)->pending == nullptr) {
        return nullptr;
    }
    auto *reply = makeDictionary({});
    reply->pending = dictionary(original)->pending;
    return reply;
}
void xpc_dictionary_set_string(xpc_object_t object, const char *key, const char *text) {
    dictionary(object)->strings[key] = text;
}
const char *xpc_dictionary_get_string(xpc_object_t object, const char *key) {
    if (header(object)->type != XPC_TYPE_DICTIONARY) {
        return nullptr;
    }
    const auto &strings = dictionary(object)->strings;
    const auto found = strings.find(key);
    return found == strings.end() ? nullptr : found->second.c_str();
}

xpc_connection_t xpc_connection_create_mach_service(const char *name, dispatch_queue_t targetQueue,
                                                    std::uint64_t flags) {
    fake::record("xpc_connection_create_mach_service name=" + std::string(name) + " queue=" + queueName(targetQueue) +
                 " flags=" + std::to_string(flags));
    if (fake::machine().connectionsAreNull) {
        return nullptr;
    }
    const bool isListener = (flags & XPC_CONNECTION_MACH_SERVICE_LISTENER) != 0;
    return new _xpc_connection_s(name, targetQueue, isListener);
}

void xpc_connection_set_event_handler(xpc_connection_t connection, xpc_handler_t handler) {
    fake::record("xpc_connection_set_event_handler " + connectionName(connection));
    if (connection != nullptr) {
        const std::lock_guard lock(connection->mutex);
        connection->handler = Block_copy(handler);
    }
}

void xpc_connection_set_target_queue(xpc_connection_t connection, dispatch_queue_t targetQueue) {
    fake::record("xpc_connection_set_target_queue " + connectionName(connection) + " queue=" + queueName(targetQueue));
    connection->queue = targetQueue;
}

int xpc_connection_set_peer_code_signing_requirement(xpc_connection_t connection, const char *requirement) {
    fake::record("xpc_connection_set_peer_code_signing_requirement " + connectionName(connection) +
                 " requirement=" + requirement);
    const std::lock_guard lock(connection->mutex);
    if (connection->resumed) {
        std::abort(); // documented: only before the connection is resumed
    }
    connection->hasRequirement = fake::machine().requirementStatus == 0;
    return fake::machine().requirementStatus;
}

void xpc_connection_set_context(xpc_connection_t connection, void *context) {
    const std::lock_guard lock(connection->mutex);
    connection->context = context;
}
void *xpc_connection_get_context(xpc_connection_t connection) {
    const std::lock_guard lock(connection->mutex);
    return connection->context;
}

uid_t xpc_connection_get_euid(xpc_connection_t) {
    return fake::machine().clientUser;
}

void xpc_connection_resume(xpc_connection_t connection) {
    fake::record("xpc_connection_resume " + connectionName(connection));
    if (connection == nullptr) {
        return;
    }
    {
        const std::lock_guard lock(connection->mutex);
        connection->resumed = true;
    }
    if (connection->isListener) {
        const std::lock_guard lock(services().mutex);
        services().listeners[connection->serviceName] = connection;
    }
}

void xpc_connection_cancel(xpc_connection_t connection) {
    fake::record("xpc_connection_cancel " + connectionName(connection));
    endConnection(connection);
    interruptClientsOf(connection);
}

void xpc_connection_send_message(xpc_connection_t connection, xpc_object_t message) {
    fake::record("xpc_connection_send_message " + connectionName(connection) + " message=" + describe(message));
    if (const std::shared_ptr<Pending> pending = dictionary(message)->pending) {
        auto *reply = makeDictionary(dictionary(message)->strings); // without its way back
        pending->settle(reply);
        xpc_release(reply);
    }
}

void xpc_connection_send_message_with_reply(xpc_connection_t connection, xpc_object_t message,
                                            dispatch_queue_t replyQueue, xpc_handler_t handler) {
    fake::record("xpc_connection_send_message_with_reply " + connectionName(connection) +
                 " message=" + describe(message) + " queue=" + queueName(replyQueue));
    if (connection == nullptr) {
        return;
    }
    auto pending = std::make_shared<Pending>(connection, replyQueue, handler);
    if (fake::machine().holdMessages) {
        const std::lock_guard lock(services().mutex);
        services().held.push_back(pending);
    } else if (xpc_connection_t listener = listenerFor(connection->serviceName)) {
        route(connection, listener, message, pending);
    } else {
        failWith(pending, XPC_ERROR_CONNECTION_INVALID);
    }
}

void xpc_transaction_begin() {
    fake::record("xpc_transaction_begin");
}
void xpc_transaction_end() {
    fake::record("xpc_transaction_end");
}

} // extern "C"
