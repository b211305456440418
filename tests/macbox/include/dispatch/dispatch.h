#pragma once

// Declarations of the system's dispatch interface, as far as this program uses it, written after the page "Dispatch" of
// the system's developer documentation: dispatch_get_main_queue, dispatch_queue_create.

extern "C" {

using dispatch_queue_t = struct dispatch_queue_s *;
using dispatch_queue_attr_t = struct dispatch_queue_attr_s *;
extern struct dispatch_queue_s _dispatch_main_q;

static inline dispatch_queue_t dispatch_get_main_queue() {
    return &_dispatch_main_q;
}
dispatch_queue_t dispatch_queue_create(const char *label, dispatch_queue_attr_t attributes);

} // extern "C"

#define DISPATCH_QUEUE_SERIAL nullptr
