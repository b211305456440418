#include "FakeService.h"

#include "channel/FrameReader.h"
#include "channel/message_keys.h"

#include <poll.h>
#include <sys/socket.h>

namespace kyb::test {

FakeService::FakeService(const std::string &systemRoot, Behaviour behaviour)
    : socket_(*ServiceSocket::open(systemRoot, kHelperServiceName)), listening_(socket_.listen()),
      thread_([this, behaviour = std::move(behaviour)] {
          pollfd client{.fd = listening_.get(), .events = POLLIN, .revents = 0};
          poll(&client, 1, -1);
          const UniqueFd connection(accept(listening_.get(), nullptr, nullptr));
          behaviour(connection.get());
      }) {}

FakeService::~FakeService() {
    thread_.join();
}

void takeRequest(int connection) {
    FrameReader frame;
    for (char byte = 0; frame.missingBytes() > 0 && recv(connection, &byte, 1, 0) == 1;) {
        frame.add({&byte, 1});
    }
}

void sendBytes(int connection, const std::string &bytes) {
    [[maybe_unused]] const ssize_t ignored = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

} // namespace kyb::test
