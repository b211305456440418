// What every machine's small ports hold to.

#include "platform/activation.h"
#include "platform/bundle.h"
#include "platform/clock.h"
#include "platform/current_user.h"
#include "platform/system_log.h"
#include "platform/system_root.h"
#include "platform/volume.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/time.h>
#include <unistd.h>

namespace kyb {
namespace {

using namespace std::chrono_literals;

TEST(SystemRootContract, HasNoProblemByItself) {
    EXPECT_EQ(systemRootProblem().value_or(QString()).toStdString(), "");
}

TEST(SystemRootContract, KeepsTheFixedPathAtTheEnd) {
    EXPECT_TRUE(systemPath(QStringLiteral("/var/tmp/kyb")).endsWith(QLatin1String("/var/tmp/kyb")));
    EXPECT_TRUE(systemPath(QStringLiteral("/Applications/")).endsWith(QLatin1String("/Applications/")));
}

TEST(SystemRootContract, GivesTheRootAsAFolder) {
    const QString root = systemPath(QStringLiteral("/"));
    EXPECT_TRUE(QFileInfo(root).isDir()) << root.toStdString();
    EXPECT_TRUE(root == QLatin1String("/") || !root.endsWith(QLatin1Char('/')));
}

TEST(CurrentUserContract, IsTheLoginNameOrEmpty) {
    const passwd *user = getpwuid(getuid());
    EXPECT_EQ(currentUserName().toStdString(), user != nullptr ? user->pw_name : "");
}

TEST(BundleContract, LiesTwoFoldersAboveTheProgram) {
    const QString bundle = bundlePath();
    EXPECT_TRUE(QDir::isAbsolutePath(bundle));
    EXPECT_FALSE(bundle.endsWith(QLatin1Char('/')));
    const QString program = QFileInfo(QCoreApplication::applicationDirPath()).canonicalFilePath();
    EXPECT_EQ(QFileInfo(program + QStringLiteral("/../..")).canonicalFilePath(), QFileInfo(bundle).canonicalFilePath());
}

TEST(VolumeContract, TellsTheFreeBytes) {
    const std::optional<double> free = freeBytesOnVolume(QDir::tempPath());
    ASSERT_TRUE(free);
    EXPECT_GE(*free, 0);
}

TEST(VolumeContract, TellsNothingOfWhatDoesNotExist) {
    EXPECT_FALSE(freeBytesOnVolume(QStringLiteral("/no such place/at all")));
}

TEST(VolumeContract, AlwaysHasAName) {
    EXPECT_FALSE(displayName(QStringLiteral("/")).isEmpty());
    EXPECT_FALSE(displayName(systemPath(QStringLiteral("/"))).isEmpty());
    EXPECT_FALSE(displayName(QStringLiteral("/no such place/at all")).isEmpty());
}

TEST(ClockContract, SleepsAtLeastAsLong) {
    const auto start = std::chrono::steady_clock::now();
    errno = EINTR; // of an earlier call
    sleepFor(30ms);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
}

TEST(ClockContract, GoesOnSleepingWhenASignalComes) {
    struct sigaction nothing {};
    struct sigaction before {};
    nothing.sa_handler = [](int) {};
    sigaction(SIGALRM, &nothing, &before);
    const itimerval often{.it_interval = {.tv_sec = 0, .tv_usec = 1000}, .it_value = {.tv_sec = 0, .tv_usec = 1000}};
    const itimerval never{};
    const auto start = std::chrono::steady_clock::now();
    setitimer(ITIMER_REAL, &often, nullptr);
    sleepFor(30ms);
    setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
    sigaction(SIGALRM, &before, nullptr);
}

TEST(SystemLogContract, TakesAnyText) {
    systemLog(QString());
    systemLog(QStringLiteral("%@ %s %n Grüße\n"));
    systemLog(QString(3000, QLatin1Char('x')));
}

TEST(ActivationContract, MayBeAskedForTwice) {
    becomeAccessory();
    becomeAccessory();
}

} // namespace
} // namespace kyb
