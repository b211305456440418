#include "FakeService.h"

#include "channel/channel_message.h"
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
    std::array<unsigned char, kFrameHeaderBytes> header{};
    recv(connection, header.data(), header.size(), MSG_WAITALL);
    std::string body(messageLength(header).value_or(0), '\0');
    recv(connection, body.data(), body.size(), MSG_WAITALL);
}

void sendBytes(int connection, const std::string &bytes) {
    [[maybe_unused]] const ssize_t ignored = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

} // namespace kyb::test
