// What must hold however the threads and processes happen to run.

#include "ChannelTest.h"

#include "base/threads.h"
#include "channel/message_keys.h"
#include "platform/privileges.h"

#include <atomic>
#include <filesystem>
#include <random>
#include <thread>
#include <unistd.h>

namespace kyb {
namespace {

namespace fs = std::filesystem;

/// Threads that keep the machine busy.
class Load {
public:
    Load() {
        for (unsigned i = 0; i < std::thread::hardware_concurrency() + 2; ++i) {
            threads_.emplace_back([this] {
                while (!isOver_) {
                }
            });
        }
    }
    ~Load() {
        isOver_ = true;
        for (std::thread &thread : threads_) {
            thread.join();
        }
    }
    Load(const Load &) = delete;
    Load &operator=(const Load &) = delete;

private:
    std::atomic<bool> isOver_{false};
    std::vector<std::thread> threads_;
};

class HelperRaceTest : public test::ChannelTest {};

/// A run that registered well must never fail by the event of its own probe.
TEST_F(HelperRaceTest, DeliversTheProbesEventBeforeTheRegistrationReturns) {
    const Load load;
    AdministratorRights rights = nullptr;
    ASSERT_EQ(requestAdministratorRights(&rights), 0);
    for (int i = 0; i < 200; ++i) {
        std::atomic<int> events{0};
        HelperConnection connection = createHelperConnection(kHelperServiceName);
        setConnectionEventHandler(connection, [&events, i](const ConnectionEvent &event) {
            EXPECT_EQ(event.kind, ConnectionEventKind::Invalid);
            usleep(i % 10 == 0 ? 50'000 : 0); // a handler that is still at it when the program is long in place
            ++events;
        });
        sendMessageWithReply(connection, {{kCommandKey, "true"}}, {});
        releaseConnection(connection);
        ASSERT_TRUE(installHelperTool(QString::fromLatin1(kHelperLabel), rights, nullptr));
        ASSERT_EQ(events, 1);
        fs::remove(root().helperFile());
    }
}

TEST_F(HelperRaceTest, FindsTheProgressFileAtTheFirstLookUnderLoad) {
    registerHelper();
    const Load load;
    for (int i = 0; i < 200; ++i) {
        if (i % 20 == 0) {
            root().killHelpers(); // the next one is started for it
        }
        EXPECT_TRUE(findsProgressFile());
    }
}

/// The helper of this test ends after 0 to 5 milliseconds with nothing to do, all the time, while clients come.
TEST_F(HelperRaceTest, AnswersEveryClientOfAHelperThatIsAboutToEnd) {
    root().registerHelper(KYB_QUICK_HELPER_PROGRAM);
    constexpr int kThreads = 4;
    constexpr int kRequests = 100;
    struct Counts {
        std::atomic<int> failures{0};
        std::atomic<int> threadsDone{0};
    };
    const auto counts = std::make_shared<Counts>(); // the threads', however long they take
    for (int thread = 0; thread < kThreads; ++thread) {
        inBackground([counts, thread] {
            std::minstd_rand random(static_cast<unsigned>(thread + 1));
            for (int i = 0; i < kRequests; ++i) {
                const auto outcome = send(":");
                while (!outcome->isComplete()) {
                    usleep(100);
                }
                counts->failures += outcome->reply() == "Command finished with status 0" ? 0 : 1;
                usleep(static_cast<useconds_t>(random() % 8000));
            }
            ++counts->threadsDone;
        });
    }
    ASSERT_TRUE(test::turnUntil([&] { return counts->threadsDone == kThreads; }));
    EXPECT_EQ(counts->failures, 0);
}

/// One client alone meets the end of the helper most often.
TEST_F(HelperRaceTest, AnswersALoneClientOfAHelperThatIsAboutToEnd) {
    root().registerHelper(KYB_QUICK_HELPER_PROGRAM);
    std::minstd_rand random(1);
    for (int i = 0; i < 150; ++i) {
        const auto outcome = send(":");
        ASSERT_EQ(waitForReply(*outcome), "Command finished with status 0");
        usleep(static_cast<useconds_t>(random() % 6000));
    }
}

} // namespace
} // namespace kyb
