#pragma once

#include "platform/helper_connection.h"
#include "platform/linux/taken_timeout.h"
#include "support/RootFolder.h"
#include "support/turn_until.h"

#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <vector>

namespace kyb::test {

/// What came of one message. Any thread.
class Outcome {
public:
    void addEvent(ConnectionEventKind kind);
    void addReply(const std::optional<QByteArray> &reply);

    std::vector<ConnectionEventKind> events() const;

    /// Whether the one reply, or what stands in its place, has come.
    bool isComplete() const;

    /// The reply's text; "(none)" when there is none.
    std::string reply() const;

private:
    mutable std::mutex mutex_;
    std::vector<ConnectionEventKind> events_;
    std::vector<std::optional<QByteArray>> replies_;
};

/// A test of the channel, with a root folder that all tests of the process share, one after the other.
class ChannelTest : public testing::Test {
protected:
    enum class Progress { Wanted, NotWanted };

    ChannelTest();
    ~ChannelTest() override;

    static const RootFolder &root();

    /// Puts the real helper at its place.
    static void registerHelper();

    static std::shared_ptr<Outcome> send(const QByteArray &command, Progress progress = Progress::NotWanted,
                                         std::chrono::milliseconds takenTimeout = kTakenTimeout);

    static std::string waitForReply(const Outcome &outcome);

    /// Sends a message that names the progress file, with no file there, and looks once; then waits for the end of its
    /// command, which fails: a failure makes way for the next message at once.
    static bool findsProgressFile();

    /// Sends, and waits for what comes.
    static std::string run(const QByteArray &command, Progress progress = Progress::NotWanted);

    /// Waits for what comes, and gives the events.
    static std::vector<ConnectionEventKind> eventsOf(const Outcome &outcome);
};

} // namespace kyb::test
