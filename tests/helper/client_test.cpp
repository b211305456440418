#include "linux/Client.h"

#include "channel/channel_message.h"

#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace kyb::helper {
namespace {

class ClientTest : public testing::Test {
protected:
    ClientTest() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        peer_ = UniqueFd(ends[0]);
        client_.emplace(UniqueFd(ends[1]), std::chrono::steady_clock::now());
    }

    void send(const std::string &bytes) const { ASSERT_GT(::send(peer_.get(), bytes.data(), bytes.size(), 0), 0); }

    /// Whether the peer sees everything that it sent taken.
    bool isTaken() const {
        int queuedBytes = -1;
        ioctl(peer_.get(), SIOCOUTQ, &queuedBytes);
        return queuedBytes == 0;
    }

    UniqueFd peer_;
    std::optional<Client> client_;
    const std::string frame_ = *encodeFrame({{"key", "text"}});
};

TEST_F(ClientTest, LeavesTheLastByteUntilToldOtherwise) {
    send(frame_);
    EXPECT_EQ(client_->read(), Client::State::Complete);
    EXPECT_EQ(client_->message(), frame_.substr(kFrameHeaderBytes));
    EXPECT_FALSE(isTaken());
    client_->takeLastByte();
    EXPECT_TRUE(isTaken());
}

TEST_F(ClientTest, WaitsForTheRest) {
    EXPECT_EQ(client_->read(), Client::State::Sending);
    for (std::size_t i = 0; i + 1 < frame_.size(); ++i) {
        send(frame_.substr(i, 1));
        EXPECT_EQ(client_->read(), Client::State::Sending) << i;
    }
    send(frame_.substr(frame_.size() - 1));
    EXPECT_EQ(client_->read(), Client::State::Complete);
}

TEST_F(ClientTest, IsBrokenWhenThePeerLeaves) {
    send(frame_.substr(0, 10));
    peer_.reset();
    EXPECT_EQ(client_->read(), Client::State::Broken);
}

TEST_F(ClientTest, IsBrokenByALengthThatIsRefused) {
    send(std::string("\0\x10\0\1", 4));
    EXPECT_EQ(client_->read(), Client::State::Broken);
}

} // namespace
} // namespace kyb::helper
