#include "channel/ServiceSocket.h"

#include "support/RootFolder.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <thread>
#include <vector>

namespace kyb {
namespace {

TEST(ServiceSocket, ConnectsBelowARootWithALongName) {
    const test::RootFolder root(std::string(200, 'a') + "/" + std::string(200, 'b'));
    const auto socket = ServiceSocket::open(root.path(), "com.kyb.test.xpc");
    ASSERT_TRUE(socket);
    const UniqueFd listening = socket->listen();
    ASSERT_TRUE(listening);
    EXPECT_TRUE(std::filesystem::is_socket(root.at("/var/run/com.kyb.test.xpc")));
    EXPECT_TRUE(socket->connect());
}

TEST(ServiceSocket, IsOpenToEverybody) {
    const test::RootFolder root;
    const auto socket = ServiceSocket::open(root.path(), "x");
    const UniqueFd listening = socket->listen();
    EXPECT_EQ(socket->entry()->st_mode & 0777U, 0666U);
}

TEST(ServiceSocket, WaitsTwoSecondsForRoomAndIsInheritedByNobody) {
    const test::RootFolder root;
    const auto socket = ServiceSocket::open(root.path(), "x");
    const UniqueFd listening = socket->listen();
    const UniqueFd connection = socket->connect();
    for (const int fd : {listening.get(), connection.get()}) {
        EXPECT_NE(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
        EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
    }
    timeval timeout{};
    socklen_t size = sizeof timeout;
    EXPECT_EQ(getsockopt(connection.get(), SOL_SOCKET, SO_SNDTIMEO, &timeout, &size), 0);
    EXPECT_EQ(timeout.tv_sec, 2);
    EXPECT_EQ(timeout.tv_usec, 0);
}

TEST(ServiceSocket, TellsWhyNobodyIsThere) {
    const test::RootFolder root;
    const auto socket = ServiceSocket::open(root.path(), "x");
    EXPECT_FALSE(socket->connect());
    EXPECT_EQ(errno, ENOENT);
    socket->listen().reset();
    EXPECT_FALSE(socket->connect());
    EXPECT_EQ(errno, ECONNREFUSED);
    std::filesystem::remove_all(root.at("/var/run"));
    EXPECT_FALSE(ServiceSocket::open(root.path(), "x"));
}

TEST(ServiceSocket, TakesTheOldSocketsPlace) {
    const test::RootFolder root;
    const auto socket = ServiceSocket::open(root.path(), "x");
    socket->listen().reset();
    const UniqueFd listening = socket->listen();
    EXPECT_TRUE(socket->connect());
    socket->remove();
    EXPECT_FALSE(socket->entry());
}

TEST(ServiceSocket, IsLockedByOneOnly) {
    const test::RootFolder root;
    const auto socket = ServiceSocket::open(root.path(), "x");
    UniqueFd first = socket->tryLock();
    EXPECT_TRUE(first);
    EXPECT_FALSE(socket->tryLock());
    EXPECT_EQ(errno, EWOULDBLOCK);
    first.reset();
    EXPECT_TRUE(socket->tryLock());
}

TEST(ServiceSocket, IsServedByOneOnlyWhoeverStartsOrEndsIt) {
    const test::RootFolder root;
    const auto socket = ServiceSocket::open(root.path(), "x");
    const UniqueFd starting = socket->tryLock();
    UniqueFd serving = socket->tryLockOfServer();
    EXPECT_TRUE(serving);
    EXPECT_FALSE(socket->tryLockOfServer());
    EXPECT_EQ(errno, EWOULDBLOCK);
    serving.reset();
    EXPECT_TRUE(socket->tryLockOfServer());
}

TEST(ServiceSocket, IsServedByOneOnlyAlthoughItsFolderIsCleared) {
    const test::RootFolder root;
    UniqueFd serving = ServiceSocket::open(root.path(), "x")->tryLockOfServer();
    EXPECT_TRUE(serving);
    for (const auto &entry : std::filesystem::directory_iterator(root.at("/var/run"))) {
        std::filesystem::remove(entry);
    }
    EXPECT_FALSE(ServiceSocket::open(root.path(), "x")->tryLockOfServer());
    EXPECT_EQ(errno, EWOULDBLOCK);
    serving.reset();
    EXPECT_TRUE(ServiceSocket::open(root.path(), "x")->tryLockOfServer());
}

TEST(ServiceSocket, IsLockedByItsOwnerWhateverTheUmaskOfTheFirst) {
    const test::RootFolder root;
    const std::optional<ServiceSocket> service = ServiceSocket::open(root.path(), "service");
    ASSERT_TRUE(service);
    const mode_t before = umask(0777);
    EXPECT_TRUE(service->tryLock());
    EXPECT_TRUE(service->tryLockOfServer());
    umask(before);
    for (const char *lock : {"/var/run/service.lock", "/var/service.server"}) {
        struct stat info {};
        ASSERT_EQ(stat(root.at(lock).c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, 0600U) << lock;
    }
}

TEST(ServiceSocket, IsNotLockedThroughALink) {
    const test::RootFolder root;
    std::ofstream(root.at("/victim")).put('\n');
    std::filesystem::create_symlink(root.at("/victim"), root.at("/var/run/x.lock"));
    EXPECT_FALSE(ServiceSocket::open(root.path(), "x")->tryLock());
}

TEST(ServiceSocket, WaitsForRoomInAFullBacklog) {
    const test::RootFolder root;
    const auto socket = ServiceSocket::open(root.path(), "x");
    const UniqueFd listening = socket->listen();
    std::vector<UniqueFd> connections;
    for (int i = 0; i < 129; ++i) {
        connections.push_back(socket->connect());
        ASSERT_TRUE(connections.back()) << i;
    }
    std::thread server([&listening] {
        while (test::stateOf(getpid()) != 'S') { // the main thread, which waits for room
        }
        while (UniqueFd(accept(listening.get(), nullptr, nullptr))) {
        }
    });
    EXPECT_TRUE(socket->connect());
    server.join();
}

} // namespace
} // namespace kyb
