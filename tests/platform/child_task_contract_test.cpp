// What every machine's child task holds to.

#include "platform/child_task.h"

#include <QFile>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace kyb {
namespace {

class ChildTaskContract : public testing::Test {
protected:
    QString at(const char *name) const { return folder_.filePath(QLatin1String(name)); }

    static QString contentOf(const QString &path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    static std::unique_ptr<ChildTask> shell(const QString &script) {
        return std::make_unique<ChildTask>(QStringLiteral("/bin/sh"), QStringList{QStringLiteral("-c"), script});
    }

    /// Waits until the file's text ends in a line feed.
    static QString waitForLine(const QString &path) {
        while (!contentOf(path).endsWith(QLatin1Char('\n'))) { // the test's own time limit bounds this
            usleep(1000);
        }
        return contentOf(path);
    }

    QTemporaryDir folder_;
};

TEST_F(ChildTaskContract, RunsTheProgramWithItsArguments) {
    ChildTask task(QStringLiteral("/bin/sh"),
                   {QStringLiteral("-c"), QStringLiteral("printf '%s|%s\\n' \"$1\" \"$2\" >\"$0\""), at("out"),
                    QStringLiteral("a b"), QStringLiteral("Grüße \"'$")});
    task.launch();
    EXPECT_EQ(waitForLine(at("out")).toStdString(), "a b|Grüße \"'$\n");
    task.terminate();
}

TEST_F(ChildTaskContract, DoesNotLaunchByItself) {
    shell(QStringLiteral("echo x >'%1'").arg(at("out"))).reset();
    while (waitpid(-1, nullptr, 0) > 0) { // if it is a child already, then one that has ended
    }
    EXPECT_FALSE(QFile::exists(at("out")));
}

TEST_F(ChildTaskContract, EndsTheProgram) {
    const auto task =
        shell(QStringLiteral("trap 'echo ended >\"%1\"; exit' TERM; echo >'%2'; while :; do sleep 0.01; done")
                  .arg(at("out"), at("ready")));
    task->launch();
    waitForLine(at("ready"));
    task->terminate();
    EXPECT_EQ(waitForLine(at("out")).toStdString(), "ended\n");
    task->terminate(); // nothing is left to end
}

TEST_F(ChildTaskContract, EndsWhatTheProgramHasStarted) {
    const auto task = shell(QStringLiteral("sh -c 'trap \"echo ended >\\\"$1\\\"; exit\" TERM; echo >\"$2\"; "
                                           "while :; do sleep 0.01; done' sh '%1' '%2'; true")
                                .arg(at("out"), at("ready")));
    task->launch();
    waitForLine(at("ready"));
    task->terminate();
    EXPECT_EQ(waitForLine(at("out")).toStdString(), "ended\n");
}

TEST_F(ChildTaskContract, GoesOnWithoutTheObject) {
    auto task =
        shell(QStringLiteral("while [ ! -e '%1' ]; do sleep 0.01; done; echo late >'%2'").arg(at("go"), at("out")));
    task->launch();
    task.reset();
    QFile go(at("go"));
    ASSERT_TRUE(go.open(QIODevice::WriteOnly));
    EXPECT_EQ(waitForLine(at("out")).toStdString(), "late\n");
}

TEST_F(ChildTaskContract, EndsWithTheProcessThatLaunchedItEvenIfThatIsKilled) {
    const auto task =
        shell(QStringLiteral("trap 'echo ended >\"%1\"; exit' TERM; echo >'%2'; while :; do sleep 0.01; done")
                  .arg(at("out"), at("ready")));
    const pid_t launcher = fork();
    if (launcher == 0) {
        task->launch();
        QFile launched(at("launched"));
        launched.open(QIODevice::WriteOnly);
        launched.write("\n");
        launched.close();
        pause();
        _exit(0);
    }
    waitForLine(at("ready"));
    waitForLine(at("launched"));
    kill(launcher, SIGKILL);
    EXPECT_EQ(waitForLine(at("out")).toStdString(), "ended\n");
    waitpid(launcher, nullptr, 0);
}

TEST_F(ChildTaskContract, FailsSilently) {
    ChildTask task(QStringLiteral("/no such program"), {});
    task.launch();
    task.terminate();
}

TEST_F(ChildTaskContract, TerminatesNothingBeforeTheLaunch) {
    ChildTask task(QStringLiteral("/bin/sh"), {});
    task.terminate();
}

TEST_F(ChildTaskContract, MayBeEndedWhileItIsLaunched) {
    for (int i = 0; i < 50; ++i) {
        ChildTask task(QStringLiteral("/bin/sleep"), {QStringLiteral("0.01")});
        std::thread other([&task] { task.terminate(); });
        task.launch();
        other.join();
        task.terminate();
    }
}

TEST_F(ChildTaskContract, StartsWithDefaultSignals) {
    const auto before = std::signal(SIGTERM, SIG_IGN);
    const auto task = shell(QStringLiteral("echo $$ >'%1'; exec sleep 300").arg(at("ready")));
    task->launch();
    std::signal(SIGTERM, before);
    const pid_t child = waitForLine(at("ready")).toInt();
    task->terminate();
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child) << "the port itself waits for nobody";
    EXPECT_TRUE(WIFSIGNALED(status));
}

} // namespace
} // namespace kyb
