#pragma once

#include "channel/ServiceSocket.h"

#include <functional>
#include <string>
#include <thread>

namespace kyb::test {

/// A service that does to its one client whatever the test says, on a thread of its own.
class FakeService {
public:
    using Behaviour = std::function<void(int connection)>;

    FakeService(const std::string &systemRoot, Behaviour behaviour);

    /// Waits for the client and the end of the behaviour.
    ~FakeService();
    FakeService(const FakeService &) = delete;
    FakeService &operator=(const FakeService &) = delete;

private:
    ServiceSocket socket_;
    UniqueFd listening_;
    std::thread thread_;
};

/// Reads one whole request from \p connection.
void takeRequest(int connection);

void sendBytes(int connection, const std::string &bytes);

} // namespace kyb::test
