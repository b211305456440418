#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace kyb {

/// A connection to the privileged helper's service. One connection carries one message and its reply.
/// A null connection may be passed to every function below: nothing happens on Linux, and on macOS it is passed on to
/// the system as it is.
using HelperConnection = struct OpaqueHelperConnection *;

/// What a message holds: keys (see channel/message_keys.h) and UTF-8 texts, in the order in which they are set.
using HelperMessage = std::vector<std::pair<const char *, QByteArray>>;

/// What can happen to a connection beside the reply.
enum class ConnectionEventKind {
    Interrupted, ///< the helper went away before it replied
    Invalid,     ///< there is no helper: nobody listens, and none is registered that could be started
    OtherError,  ///< the peer broke the protocol, or anything else went wrong
    NotAnError,  ///< something arrived that nobody asked for
};

struct ConnectionEvent {
    ConnectionEventKind kind;
    QString typeDescription; ///< the type of the object that arrived, for `NotAnError`
};

using ConnectionEventHandler = std::function<void(const ConnectionEvent &)>;

/// Gets the text under the reply's key "reply", or nothing when there is none: no such key, no text, or an error that
/// is delivered in place of a reply.
using ReplyHandler = std::function<void(const std::optional<QByteArray> &)>;

/// Makes a connection to the service \p serviceName in the system's own domain. Nothing is looked up or started yet.
/// \return null when it cannot be made. Any thread.
HelperConnection createHelperConnection(const char *serviceName);

/// Sets who is told of events: on the default queue, a background thread, at most once for a connection on Linux.
/// Before `resumeConnection`. Any thread.
void setConnectionEventHandler(HelperConnection connection, ConnectionEventHandler handler);

/// Starts the connection. Any thread.
void resumeConnection(HelperConnection connection);

/// Sends \p message and returns without waiting for the reply. The helper is started when it is registered and does not
/// run. \p replyHandler is called once, on the main thread, with the reply or, after an event, with nothing.
///
/// On Linux a message that names a progress file (`kInstallerLogPathKey`) is waited for until the helper has taken it
/// and made that file: not on the main thread, then. Any thread otherwise. A helper that does not take it for 35
/// seconds is as one that went away.
///
/// After such a message the connection stays until the process ends, also when it is released and the reply has come:
/// the helper takes its close for the proof that nobody looks at the file any more.
void sendMessageWithReply(HelperConnection connection, const HelperMessage &message, ReplyHandler replyHandler);

/// Drops the caller's reference. A pending reply keeps the connection alive until it is delivered. Any thread.
void releaseConnection(HelperConnection connection);

} // namespace kyb
