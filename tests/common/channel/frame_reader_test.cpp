#include "channel/FrameReader.h"

#include "channel/channel_message.h"

#include <gtest/gtest.h>

namespace kyb {
namespace {

using State = FrameReader::State;

struct Row {
    const char *name;
    std::string bytes;
    State state;
    std::size_t missingBytes;
    std::string message; ///< when it is complete
};

std::string header(unsigned length) {
    std::string bytes;
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes.push_back(static_cast<char>(length >> shift));
    }
    return bytes;
}

const Row kRows[] = {
    {"Nothing", "", State::Header, 4, ""},
    {"HalfAHeader", header(5).substr(0, 2), State::Header, 2, ""},
    {"HeaderOnly", header(5), State::Message, 5, ""},
    {"HalfAMessage", header(5) + "he", State::Message, 3, ""},
    {"AllButTheLastByte", header(5) + "hell", State::Message, 1, ""},
    {"Whole", header(5) + "hello", State::Complete, 0, "hello"},
    {"TrailingBytes", header(5) + "hello and more", State::Complete, 0, "hello"},
    {"BytesThatLookSigned", header(0xfe) + std::string(0xfe, '\xff'), State::Complete, 0, std::string(0xfe, '\xff')},
    {"LengthZero", header(0), State::Refused, 0, ""},
    {"LongestLength", header(1 << 20), State::Message, 1 << 20, ""},
    {"TooLong", header((1 << 20) + 1), State::Refused, 0, ""},
    {"FarTooLong", header(0xffffffff) + "hello", State::Refused, 0, ""},
};

class Frame : public testing::TestWithParam<Row> {
protected:
    static void expectRead(const FrameReader &frame) {
        EXPECT_EQ(frame.state(), GetParam().state);
        EXPECT_EQ(frame.missingBytes(), GetParam().missingBytes);
        if (frame.state() == State::Complete) {
            EXPECT_EQ(frame.message(), GetParam().message);
        }
    }
};

TEST_P(Frame, IsReadInOnePiece) {
    FrameReader frame;
    frame.add(GetParam().bytes);
    expectRead(frame);
}

TEST_P(Frame, IsReadByteByByte) {
    FrameReader frame;
    for (const char &byte : GetParam().bytes) {
        frame.add({&byte, 1});
    }
    expectRead(frame);
}

INSTANTIATE_TEST_SUITE_P(Rows, Frame, testing::ValuesIn(kRows), [](const auto &row) { return row.param.name; });

} // namespace
} // namespace kyb
