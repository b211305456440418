#include "ChannelTest.h"

#include "base/threads.h"
#include "channel/message_keys.h"
#include "platform/bundle.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>

namespace kyb::test {
namespace {

std::unique_ptr<RootFolder> sharedRoot;

/// Names the root before any test: the port reads the variable once.
class RootEnvironment : public testing::Environment {
public:
    void SetUp() override {
        sharedRoot = std::make_unique<RootFolder>();
        setenv("KYB_SYSTEM_ROOT", sharedRoot->path().c_str(), 1);
    }
    void TearDown() override { sharedRoot.reset(); }
};

[[maybe_unused]] const testing::Environment *const environment = testing::AddGlobalTestEnvironment(new RootEnvironment);

} // namespace

void Outcome::addEvent(ConnectionEventKind kind) {
    const std::lock_guard lock(mutex_);
    EXPECT_FALSE(isMainThread());
    EXPECT_TRUE(replies_.empty()) << "the event comes before what stands in the reply's place";
    events_.push_back(kind);
}

void Outcome::addReply(const std::optional<QByteArray> &reply) {
    const std::lock_guard lock(mutex_);
    EXPECT_TRUE(isMainThread());
    EXPECT_TRUE(replies_.empty()) << "one reply for one message";
    replies_.push_back(reply);
}

std::vector<ConnectionEventKind> Outcome::events() const {
    const std::lock_guard lock(mutex_);
    return events_;
}

bool Outcome::isComplete() const {
    const std::lock_guard lock(mutex_);
    return !replies_.empty();
}

std::string Outcome::reply() const {
    const std::lock_guard lock(mutex_);
    return replies_.empty() ? "(not yet)" : replies_.front().value_or("(none)").toStdString();
}

ChannelTest::ChannelTest() {
    root().clear();
}

ChannelTest::~ChannelTest() {
    root().killHelpers();
    EXPECT_TRUE(turnUntil(isIdle));
}

const RootFolder &ChannelTest::root() {
    return *sharedRoot;
}

void ChannelTest::registerHelper() {
    root().registerHelper(bundlePath().toStdString() + "/Contents/Library/LaunchServices/" + kHelperLabel);
}

std::shared_ptr<Outcome> ChannelTest::send(const QByteArray &command, Progress progress,
                                           std::chrono::milliseconds takenTimeout) {
    auto outcome = std::make_shared<Outcome>();
    HelperConnection connection = createHelperConnection(kHelperServiceName);
    setConnectionEventHandler(connection, [outcome](const ConnectionEvent &event) { outcome->addEvent(event.kind); });
    setTakenTimeout(connection, takenTimeout);
    resumeConnection(connection);
    HelperMessage message{{kCommandKey, command}};
    if (progress == Progress::Wanted) {
        message.emplace_back(kInstallerLogPathKey, QByteArray::fromStdString(root().progressFile()));
    }
    sendMessageWithReply(connection, message,
                         [outcome](const std::optional<QByteArray> &reply) { outcome->addReply(reply); });
    releaseConnection(connection);
    return outcome;
}

std::string ChannelTest::waitForReply(const Outcome &outcome) {
    EXPECT_TRUE(turnUntil([&outcome] { return outcome.isComplete(); }));
    return outcome.reply();
}

bool ChannelTest::findsProgressFile() {
    std::filesystem::remove(root().progressFile());
    const auto outcome = send("false", Progress::Wanted);
    const bool isThere = std::filesystem::exists(root().progressFile());
    EXPECT_TRUE(turnUntil([] { return contentOf(root().progressFile()).ends_with("\nInstallation_"); }));
    return isThere;
}

std::string ChannelTest::run(const QByteArray &command, Progress progress) {
    return waitForReply(*send(command, progress));
}

std::vector<ConnectionEventKind> ChannelTest::eventsOf(const Outcome &outcome) {
    waitForReply(outcome);
    return outcome.events();
}

} // namespace kyb::test
