#include "macos/XpcListener.h"

#include "channel/message_keys.h"
#include "helper_log.h"
#include "macos/client_trust.h"

#include <atomic>
#include <dispatch/dispatch.h>
#include <set>
#include <unistd.h>

namespace kyb::helper {
namespace {

/// What the blocks of the listener and of its peers share. Blocks copy it.
struct ListenerContext {
    std::shared_ptr<Inbox> inbox;
    std::string progressFile;
    std::shared_ptr<std::set<uid_t>> refusedUsers = std::make_shared<std::set<uid_t>>(); ///< the listener's queue
    std::shared_ptr<std::atomic<bool>> isConnected = {};                                 ///< a peer's
};

/// One reference to an XPC object, shared by the copies of a `std::function`.
std::shared_ptr<void> keep(xpc_object_t object) {
    return {xpc_retain(object), xpc_release};
}

void sendReply(xpc_connection_t peer, xpc_object_t message, const std::string &text) {
    const xpc_object_t reply = xpc_dictionary_create_reply(message);
    if (reply == nullptr) {
        return; // a message that wants no reply
    }
    xpc_dictionary_set_string(reply, kReplyKey, text.c_str());
    xpc_connection_send_message(peer, reply);
    xpc_release(reply);
}

/// Answers \p message, or cuts its client off, which the client sees as an interruption.
auto answerTo(xpc_connection_t peer, xpc_object_t message) {
    return [client = keep(peer), request = keep(message)](const std::optional<std::string> &reply) {
        const auto connection = static_cast<xpc_connection_t>(client.get());
        if (reply) {
            sendReply(connection, request.get(), *reply);
        } else {
            xpc_connection_cancel(connection);
        }
    };
}

std::optional<std::string> stringIn(xpc_object_t message, const char *key) {
    const char *text = xpc_dictionary_get_string(message, key);
    return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

/// Cuts \p peer off. NB: its user is named once; a stranger may come as often as he likes.
void refuse(xpc_connection_t peer, const ListenerContext &context) {
    const uid_t user = xpc_connection_get_euid(peer);
    if (context.refusedUsers->insert(user).second) {
        logLine("Refused a client of the user " + std::to_string(user) + ".");
    }
    xpc_connection_cancel(peer);
}

void admit(xpc_connection_t peer, xpc_object_t message, const ListenerContext &context) {
    const std::optional<std::string> command = stringIn(message, kCommandKey);
    const std::optional<std::string> path = stringIn(message, kInstallerLogPathKey);
    if (!isFromTrustedClient(message) || !command || (path && *path != context.progressFile)) {
        refuse(peer, context);
        return;
    }
    context.inbox->add({.commandLine = *command,
                        .progressFilePath = path,
                        .answer = answerTo(peer, message),
                        .isConnected = [isConnected = context.isConnected] { return isConnected->load(); }});
}

void receive(xpc_connection_t peer, xpc_object_t event, const ListenerContext &context) {
    if (xpc_get_type(event) == XPC_TYPE_DICTIONARY) {
        admit(peer, event, context);
    } else if (event == XPC_ERROR_CONNECTION_INVALID) {
        *context.isConnected = false;
        context.inbox->noteClientWent(); // its command, if one runs, is finished all the same
    }
}

void accept(xpc_connection_t peer, dispatch_queue_t queue, const ListenerContext &context) {
    ListenerContext copied = context; // NB: a block copies a variable, but only refers to what a reference names
    copied.isConnected = std::make_shared<std::atomic<bool>>(true);
    context.inbox->noteClientCame();
    xpc_connection_set_target_queue(peer, queue);
    xpc_connection_set_event_handler(peer, ^(xpc_object_t event) {
      receive(peer, event, copied);
    });
    xpc_connection_resume(peer);
}

} // namespace

void XpcListener::open() {
    const ListenerContext context{inbox_, progressFile_};
    const dispatch_queue_t queue = dispatch_queue_create(kHelperServiceName, DISPATCH_QUEUE_SERIAL);
    listener_ = xpc_connection_create_mach_service(kHelperServiceName, queue, XPC_CONNECTION_MACH_SERVICE_LISTENER);
    xpc_connection_set_event_handler(listener_, ^(xpc_object_t event) {
      if (xpc_get_type(event) == XPC_TYPE_CONNECTION) {
          accept(static_cast<xpc_connection_t>(event), queue, context);
      } else {
          context.inbox->noteClosed();
      }
    });
    xpc_connection_resume(listener_);
    isListening_ = true;
}

void XpcListener::takeRequests(CommandQueue &commands) {
    for (CommandRequest &request : inbox_->takeRequests()) {
        commands.add(std::move(request));
    }
}

bool XpcListener::isBusy() const {
    // NB: asked in this order. Clients come until the listener has closed, so a quiet inbox tells nothing before.
    return (!isListening_ && !inbox_->isClosed()) || !inbox_->isQuiet();
}

void XpcListener::close() {
    if (isListening_) {
        isListening_ = false;
        xpc_connection_cancel(listener_);
    }
}

} // namespace kyb::helper
