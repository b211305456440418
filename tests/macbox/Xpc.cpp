#include "Xpc.h"

#include "Connection.h"
#include "box.h"

#include <Block.h>

using namespace macbox;

// The objects and the functions. What is said of a promise is what the pages on XPC of the system's developer
// documentation promise.

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

Header *header(xpc_object_t object) {
    return static_cast<Header *>(object);
}
_xpc_dictionary_s *dictionary(xpc_object_t object) {
    return static_cast<_xpc_dictionary_s *>(object);
}

std::string queueName(dispatch_queue_t queue) {
    return queue == nullptr ? "null" : queue->isMain() ? "main" : "own";
}
std::string nameOf(xpc_connection_t connection) {
    return connection == nullptr ? "null" : connection->body->kind();
}
std::string describe(xpc_object_t object) {
    std::string text = "{";
    for (const auto &[key, value] : dictionary(object)->strings) {
        text += (text.size() > 1 ? ", " : "") + key + "=" + value;
    }
    return text + "}";
}

} // namespace

_xpc_dictionary_s::~_xpc_dictionary_s() {
    if (type == XPC_TYPE_DICTIONARY) {
        countObject(-1);
    }
}

_xpc_connection_s::_xpc_connection_s(std::shared_ptr<Connection> connection)
    : Header{XPC_TYPE_CONNECTION}, body(std::move(connection)) {
    countObject(+1);
}

_xpc_connection_s::~_xpc_connection_s() {
    body->abandon();
    countObject(-1);
}

const Texts *macbox::senderOf(xpc_object_t message) {
    return dictionary(message)->origin.sender.get();
}

extern "C" {

/// Promise: one reference more; the object is returned.
xpc_object_t xpc_retain(xpc_object_t object) {
    ++header(object)->references;
    return object;
}

/// Promise: with the last reference the object goes. What null does is not said: it is written down and does nothing.
void xpc_release(xpc_object_t object) {
    if (object == nullptr) {
        record("xpc_release null");
    } else if (header(object)->type == XPC_TYPE_CONNECTION) {
        releaseOne(static_cast<xpc_connection_t>(object));
    } else {
        releaseOne(dictionary(object));
    }
}

/// Promise: the address of the one description of the type.
xpc_type_t xpc_get_type(xpc_object_t object) {
    return header(object)->type;
}
/// Promise: a name for people; of what form is not said.
const char *xpc_type_get_name(xpc_type_t type) {
    return type->name;
}

/// Promise: a dictionary of these values, which the caller owns.
xpc_object_t xpc_dictionary_create(const char *const *keys, const xpc_object_t *values, std::size_t count) {
    if (keys != nullptr || values != nullptr || count != 0) {
        return nullptr; // only an empty one can be made here
    }
    return makeDictionary();
}

/// Promise: one reply to a message that wants one, and null for any other.
xpc_object_t xpc_dictionary_create_reply(xpc_object_t original) {
    if (dictionary(original)->origin.number == 0) {
        return nullptr;
    }
    auto *reply = makeDictionary();
    reply->origin = dictionary(original)->origin;
    dictionary(original)->origin.number = 0;
    return reply;
}
/// Promise: a copy of the text, in the place of what the key had.
void xpc_dictionary_set_string(xpc_object_t object, const char *key, const char *text) {
    std::erase_if(dictionary(object)->strings, [&](const auto &entry) { return entry.first == key; });
    dictionary(object)->strings.emplace_back(key, text);
}
/// Promise: null where there is no such key. An error is a dictionary, too, without this one.
const char *xpc_dictionary_get_string(xpc_object_t object, const char *key) {
    for (const auto &[each, text] : dictionary(object)->strings) {
        if (each == key) {
            return text.c_str();
        }
    }
    return nullptr;
}

/// Promise: a suspended connection, whether or not somebody publishes the service; the system looks for it later.
/// Without a queue its events come on one of the system's.
xpc_connection_t xpc_connection_create_mach_service(const char *name, dispatch_queue_t targetQueue,
                                                    std::uint64_t flags) {
    record("xpc_connection_create_mach_service name=" + std::string(name) + " queue=" + queueName(targetQueue) +
           " flags=" + std::to_string(flags));
    if (isSet("connections", "null")) {
        return nullptr;
    }
    const bool isListener = (flags & XPC_CONNECTION_MACH_SERVICE_LISTENER) != 0;
    return new _xpc_connection_s(isListener ? makeListener(name, targetQueue) : makeClient(name, targetQueue));
}

/// Promise: in the place of the handler that it had.
void xpc_connection_set_event_handler(xpc_connection_t connection, xpc_handler_t handler) {
    record("xpc_connection_set_event_handler " + nameOf(connection));
    if (connection != nullptr) {
        connection->body->setHandler(handler);
    }
}

/// Promise: events come on this queue from now on.
void xpc_connection_set_target_queue(xpc_connection_t connection, dispatch_queue_t targetQueue) {
    record("xpc_connection_set_target_queue " + nameOf(connection) + " queue=" + queueName(targetQueue));
    connection->body->setQueue(targetQueue);
}

/// Promise: keeps an address for the caller, and does nothing with it.
void xpc_connection_set_context(xpc_connection_t connection, void *context) {
    connection->body->context = context;
}
/// Promise: the address that was set; null before.
void *xpc_connection_get_context(xpc_connection_t connection) {
    return connection->body->context;
}

/// Promise: the effective user of the process at the other end.
uid_t xpc_connection_get_euid(xpc_connection_t connection) {
    return connection->body->peerUser();
}

/// Promise: events come, and messages go, from here on.
void xpc_connection_resume(xpc_connection_t connection) {
    record("xpc_connection_resume " + nameOf(connection));
    if (connection != nullptr) {
        connection->body->resume();
    }
}

/// Promise: nothing goes out or comes in any more; the handler hears that the connection is invalid, once.
void xpc_connection_cancel(xpc_connection_t connection) {
    record("xpc_connection_cancel " + nameOf(connection));
    connection->body->cancel();
}

/// Promise: messages arrive in their order; nobody waits for one.
void xpc_connection_send_message(xpc_connection_t connection, xpc_object_t message) {
    record("xpc_connection_send_message " + nameOf(connection) + " message=" + describe(message));
    connection->body->send(*dictionary(message));
}

/// Promise: the handler gets the reply, or an error when none can come any more, once, on the queue that is named.
void xpc_connection_send_message_with_reply(xpc_connection_t connection, xpc_object_t message,
                                            dispatch_queue_t replyQueue, xpc_handler_t handler) {
    record("xpc_connection_send_message_with_reply " + nameOf(connection) + " message=" + describe(message) +
           " queue=" + queueName(replyQueue));
    if (connection != nullptr) {
        connection->body->ask(connection, *dictionary(message), replyQueue, handler);
    }
}

} // extern "C"
