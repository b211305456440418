#include "platform/helper_connection.h"

#include "channel/message_keys.h"
#include "platform/posix/connection_events.h"

#include <algorithm>
#include <cstdlib>
#include <dispatch/dispatch.h>
#include <string_view>
#include <xpc/xpc.h>

namespace kyb {
namespace {

/// NB: replies come on the main dispatch queue, which only a CoreFoundation run loop empties. With a user interface Qt
/// runs one; without, its event loop on macOS polls by default, and no reply would ever arrive. This asks it for the
/// run loop, before the application object is made.
[[maybe_unused]] const int runLoopAskedFor = setenv("QT_EVENT_DISPATCHER_CORE_FOUNDATION", "1", 1);

xpc_connection_t systemConnection(HelperConnection connection) {
    return reinterpret_cast<xpc_connection_t>(connection);
}

/// The event that a registration waits for: that it is known how the connection fares, by an event or by the reply.
PendingEvents::Serial eventOf(HelperConnection connection) {
    return connection == nullptr
               ? 0
               : reinterpret_cast<PendingEvents::Serial>(xpc_connection_get_context(systemConnection(connection)));
}

ConnectionEventKind errorKind(xpc_object_t error) {
    if (error == XPC_ERROR_CONNECTION_INTERRUPTED) {
        return ConnectionEventKind::Interrupted;
    }
    if (error == XPC_ERROR_CONNECTION_INVALID) {
        return ConnectionEventKind::Invalid;
    }
    return ConnectionEventKind::OtherError;
}

ConnectionEvent describe(xpc_object_t event) {
    const xpc_type_t type = xpc_get_type(event);
    if (type == XPC_TYPE_ERROR) {
        return {errorKind(event), QString()};
    }
    // The class of the object, as the system's own formatting shows a type.
    return {ConnectionEventKind::NotAnError, QStringLiteral("OS_xpc_%1").arg(QLatin1String(xpc_type_get_name(type)))};
}

bool namesProgressFile(const HelperMessage &message) {
    return std::any_of(message.begin(), message.end(),
                       [](const auto &entry) { return std::string_view(entry.first) == kInstallerLogPathKey; });
}

/// What stands in the place of a reply comes as an event as well, before it or after it.
bool isError(xpc_object_t reply) {
    return xpc_get_type(reply) == XPC_TYPE_ERROR;
}

/// What becomes of the helper after its reply is no failure.
void ignoreEvents(xpc_connection_t connection) {
    xpc_connection_set_event_handler(connection, ^(xpc_object_t){
                                     });
}

std::optional<QByteArray> replyText(xpc_object_t reply) {
    const char *text = xpc_dictionary_get_string(reply, kReplyKey); // null for an error object, too
    return text == nullptr ? std::nullopt : std::optional<QByteArray>(text);
}

} // namespace

// NB: a null connection is not caught anywhere here: the system gets it as it is.

HelperConnection createHelperConnection(const char *serviceName) {
    const xpc_connection_t connection =
        xpc_connection_create_mach_service(serviceName, nullptr, XPC_CONNECTION_MACH_SERVICE_PRIVILEGED);
    if (connection != nullptr) {
        // NB: a number, and not the connection itself, whose address may soon be another one's.
        xpc_connection_set_context(connection, reinterpret_cast<void *>(connectionEvents().add()));
    }
    return reinterpret_cast<HelperConnection>(connection);
}

void setConnectionEventHandler(HelperConnection connection, ConnectionEventHandler handler) {
    const PendingEvents::Serial pending = eventOf(connection);
    xpc_connection_set_event_handler(systemConnection(connection), ^(xpc_object_t event) {
      connectionEvents().deliver(pending, [&] { handler(describe(event)); });
    });
}

void resumeConnection(HelperConnection connection) {
    xpc_connection_resume(systemConnection(connection));
}

void sendMessageWithReply(HelperConnection connection, const HelperMessage &message, ReplyHandler replyHandler) {
    const xpc_object_t request = xpc_dictionary_create(nullptr, nullptr, 0);
    for (const auto &[key, text] : message) {
        xpc_dictionary_set_string(request, key, text.constData());
    }
    const PendingEvents::Serial pending = eventOf(connection);
    // NB: kept until the reply has been looked at, or for good; see the header. The system does not say whether the
    // last release of a connection is an event.
    const xpc_connection_t kept = systemConnection(connection);
    const bool stays = namesProgressFile(message);
    if (kept != nullptr) {
        xpc_retain(kept);
    }
    xpc_connection_send_message_with_reply(systemConnection(connection), request, dispatch_get_main_queue(),
                                           ^(xpc_object_t reply) {
                                             connectionEvents().settle(pending);
                                             if (!isError(reply)) {
                                                 ignoreEvents(kept);
                                             }
                                             replyHandler(replyText(reply));
                                             if (!stays) {
                                                 xpc_release(kept);
                                             }
                                           });
    xpc_release(request);
}

void releaseConnection(HelperConnection connection) {
    xpc_release(systemConnection(connection));
}

} // namespace kyb
