#pragma once

// Declarations of the system's XPC interface, as far as this program uses it, written after the pages "XPC",
// "xpc_connection_create_mach_service", "xpc_connection_get_euid", "xpc_connection_set_context",
// and "XPC Constants" of the system's developer documentation.

#include <cstddef>
#include <cstdint>
#include <dispatch/dispatch.h>
#include <sys/types.h>

extern "C" {

using xpc_object_t = void *;
using xpc_type_t = const struct _xpc_type_s *;
using xpc_connection_t = struct _xpc_connection_s *;
using xpc_handler_t = void (^)(xpc_object_t object);

extern const struct _xpc_type_s _xpc_type_connection;
extern const struct _xpc_type_s _xpc_type_dictionary;
extern const struct _xpc_type_s _xpc_type_error;
extern const struct _xpc_type_s _xpc_type_string;
extern const struct _xpc_dictionary_s _xpc_error_connection_interrupted;
extern const struct _xpc_dictionary_s _xpc_error_connection_invalid;
extern const struct _xpc_dictionary_s _xpc_error_termination_imminent;

#define XPC_TYPE_CONNECTION                    (&_xpc_type_connection)
#define XPC_TYPE_DICTIONARY                    (&_xpc_type_dictionary)
#define XPC_TYPE_ERROR                         (&_xpc_type_error)
#define XPC_TYPE_STRING                        (&_xpc_type_string)
#define XPC_ERROR_CONNECTION_INTERRUPTED       (&_xpc_error_connection_interrupted)
#define XPC_ERROR_CONNECTION_INVALID           (&_xpc_error_connection_invalid)
#define XPC_ERROR_TERMINATION_IMMINENT         (&_xpc_error_termination_imminent)
#define XPC_CONNECTION_MACH_SERVICE_LISTENER   (1 << 0)
#define XPC_CONNECTION_MACH_SERVICE_PRIVILEGED (1 << 1)

xpc_object_t xpc_retain(xpc_object_t object);
void xpc_release(xpc_object_t object);
xpc_type_t xpc_get_type(xpc_object_t object);
const char *xpc_type_get_name(xpc_type_t type) __attribute__((availability(macos, introduced = 10.15)));

xpc_object_t xpc_dictionary_create(const char *const *keys, const xpc_object_t *values, std::size_t count);
xpc_object_t xpc_dictionary_create_reply(xpc_object_t original);
void xpc_dictionary_set_string(xpc_object_t dictionary, const char *key, const char *text);
const char *xpc_dictionary_get_string(xpc_object_t dictionary, const char *key);

xpc_connection_t xpc_connection_create_mach_service(const char *name, dispatch_queue_t targetQueue,
                                                    std::uint64_t flags);
void xpc_connection_set_event_handler(xpc_connection_t connection, xpc_handler_t handler);
void xpc_connection_set_target_queue(xpc_connection_t connection, dispatch_queue_t targetQueue);
void xpc_connection_set_context(xpc_connection_t connection, void *context);
void *xpc_connection_get_context(xpc_connection_t connection);
uid_t xpc_connection_get_euid(xpc_connection_t connection);
void xpc_connection_resume(xpc_connection_t connection);
void xpc_connection_cancel(xpc_connection_t connection);
void xpc_connection_send_message(xpc_connection_t connection, xpc_object_t message);
void xpc_connection_send_message_with_reply(xpc_connection_t connection, xpc_object_t message,
                                            dispatch_queue_t replyQueue, xpc_handler_t handler);

} // extern "C"
