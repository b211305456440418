#pragma once

#include "Queue.h"
#include "signature.h"
#include "wire.h"

#include <atomic>
#include <memory>
#include <xpc/xpc.h>

// What is behind the objects of Xpc.cpp.

struct _xpc_type_s {
    const char *name;
};

namespace macbox {

struct Header {
    xpc_type_t type;
    mutable std::atomic<int> references{1};
};

/// Where a message came from, and what is answered on.
struct Origin {
    std::shared_ptr<kyb::UniqueFd> socket;
    std::uint64_t number = 0; ///< 0: no reply is wanted
    std::shared_ptr<const Texts> sender;
};

/// A connection, without its references. It lives until the last of its threads and tasks has done with it.
class Connection : public std::enable_shared_from_this<Connection> {
public:
    explicit Connection(dispatch_queue_t queue) : queue_(queue) {}
    virtual ~Connection() { setHandler(nullptr); }

    virtual const char *kind() const = 0;
    virtual void resume() = 0;
    virtual void cancel() = 0;
    virtual void send(_xpc_dictionary_s &) {}
    virtual void ask(xpc_connection_t, const _xpc_dictionary_s &, dispatch_queue_t, xpc_handler_t) {}
    virtual uid_t peerUser() const { return uid_t(-1); }

    /// The program has given its last reference back.
    virtual void abandon() = 0;

    void setHandler(xpc_handler_t handler);
    void setQueue(dispatch_queue_t queue);
    dispatch_queue_t queue();

    /// Calls the handler that is set when its turn comes, with \p event, on the queue; then \p after.
    void raise(const void *event, std::function<void()> after = {});

    std::atomic<void *> context{nullptr};

private:
    xpc_handler_t copyHandler();

    std::mutex mutex_;
    xpc_handler_t handler_ = nullptr;
    dispatch_queue_t queue_; ///< null: one of its own, made when it is needed
};

std::shared_ptr<Connection> makeClient(const std::string &service, dispatch_queue_t queue);
std::shared_ptr<Connection> makeListener(const std::string &service, dispatch_queue_t queue);

_xpc_dictionary_s *makeDictionary();

} // namespace macbox

struct _xpc_dictionary_s : macbox::Header {
    explicit _xpc_dictionary_s(xpc_type_t kind) : Header{kind} {}
    ~_xpc_dictionary_s();
    std::vector<std::pair<std::string, std::string>> strings;
    macbox::Origin origin;
};

struct _xpc_connection_s : macbox::Header {
    explicit _xpc_connection_s(std::shared_ptr<macbox::Connection> connection);
    ~_xpc_connection_s();
    const std::shared_ptr<macbox::Connection> body;
};
