#include "macos/Service.h"

/// Started by the system, as root, when a client connects to the service that the job's property list publishes.
int main() {
    return kyb::helper::serve({});
}
