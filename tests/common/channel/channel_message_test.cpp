#include "channel/channel_message.h"

#include <gtest/gtest.h>

namespace kyb {
namespace {

std::string bodyOf(const std::string &frame) {
    return frame.substr(kFrameHeaderBytes);
}

std::array<unsigned char, kFrameHeaderBytes> headerOf(const std::string &frame) {
    std::array<unsigned char, kFrameHeaderBytes> header{};
    std::copy_n(frame.begin(), header.size(), header.begin());
    return header;
}

TEST(ChannelMessage, ComesBackAsItWent) {
    const std::string text = "Grüße 日本 \U0001F5A8 \"quoted\" \\ $x\n";
    const std::string frame = *encodeFrame({{"one", text}, {"two", ""}});
    EXPECT_EQ(messageLength(headerOf(frame)), frame.size() - kFrameHeaderBytes);
    const auto message = decodeMessage(bodyOf(frame));
    ASSERT_TRUE(message);
    EXPECT_EQ(message->size(), 2U);
    EXPECT_EQ(message->at("one"), text);
    EXPECT_EQ(message->at("two"), "");
}

TEST(ChannelMessage, IsABinaryPropertyListBehindItsLength) {
    const std::string frame = *encodeFrame({{"reply", "x"}});
    EXPECT_EQ(frame.substr(0, 12), std::string("\0\0\0", 3) + static_cast<char>(frame.size() - 4) + "bplist00");
}

TEST(ChannelMessage, HasALongestLength) {
    EXPECT_EQ(messageLength({0, 0x10, 0, 0}), kMaxMessageBytes);
    EXPECT_FALSE(messageLength({0, 0x10, 0, 1}));
    EXPECT_FALSE(messageLength({0xff, 0xff, 0xff, 0xff}));
    EXPECT_FALSE(messageLength({0, 0, 0, 0}));
    EXPECT_TRUE(encodeFrame({{"k", std::string(kMaxMessageBytes - 1000, 'x')}}));
    EXPECT_FALSE(encodeFrame({{"k", std::string(kMaxMessageBytes, 'x')}}));
}

} // namespace
} // namespace kyb
