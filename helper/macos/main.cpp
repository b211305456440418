#include "macos/XpcListener.h"

/// Started by the system, as root, when a client connects to the service that the job's property list publishes.
int main() {
    kyb::helper::XpcListener listener;
    return kyb::helper::serve(listener, {});
}
