#include "channel/FrameReader.h"
#include "channel/channel_message.h"

#include <gtest/gtest.h>

namespace kyb {
namespace {

TEST(ChannelMessage, ComesBackAsItWent) {
    const std::string text = "Grüße 日本 \U0001F5A8 \"quoted\" \\ $x\n";
    FrameReader frame;
    frame.add(*encodeFrame({{"one", text}, {"two", ""}}));
    ASSERT_EQ(frame.state(), FrameReader::State::Complete);
    const auto message = decodeMessage(frame.message());
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
    EXPECT_TRUE(encodeFrame({{"k", std::string(kMaxMessageBytes - 1000, 'x')}}));
    EXPECT_FALSE(encodeFrame({{"k", std::string(kMaxMessageBytes, 'x')}}));
}

} // namespace
} // namespace kyb
