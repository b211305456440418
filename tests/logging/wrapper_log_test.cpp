#include "ControllerTest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 kSizeLimitBytes = 10'485'760;

class WrapperLog : public ControllerTest {
protected:
    QString logFile() const { return machine.path(QStringLiteral("/var/tmp/kyb/BrelundQuorlix.log")); }

    void makeLog(qint64 sizeBytes) const {
        machine.write(QStringLiteral("/var/tmp/kyb/BrelundQuorlix.log"), QByteArray(sizeBytes, 'x'));
    }

    QByteArray log() const { return machine.read(QStringLiteral("/var/tmp/kyb/BrelundQuorlix.log")); }

    static mode_t modeOf(const QString &path) {
        struct stat status {};
        stat(QFile::encodeName(path).constData(), &status);
        return status.st_mode & 07777;
    }
};

const QByteArray kBanner = "\n################################\n"
                           "Initiated Brelund Quorlix Driver at 1/2/26, 3:04 PM\n"
                           "################################\n";

TEST_F(WrapperLog, BeginsANewFileWithTheBanner) {
    controller->initLogFile();
    EXPECT_EQ(log(), kBanner);
}

TEST_F(WrapperLog, AppendsToAFileOfAnEarlierRun) {
    machine.write(QStringLiteral("/var/tmp/kyb/BrelundQuorlix.log"), "earlier\n");
    controller->initLogFile();
    EXPECT_EQ(log(), "earlier\n" + kBanner);
}

TEST_F(WrapperLog, StampsAnEntryWithDateAndTime) {
    controller->initLogFile();
    controller->WriteLog(QStringLiteral("Something happened"));
    EXPECT_EQ(log(), kBanner + "1/2/26, 3:04 PM : Something happened\n");
}

TEST_F(WrapperLog, KeepsNoHandleOnTheFile) {
    controller->initLogFile();
    QFile::remove(logFile());
    controller->WriteLog(QStringLiteral("Something happened"));
    EXPECT_EQ(log(), "1/2/26, 3:04 PM : Something happened\n");
}

TEST_F(WrapperLog, KeepsAFileOfExactlyTheLimit) {
    makeLog(kSizeLimitBytes);
    controller->initLogFile();
    EXPECT_EQ(log().size(), kSizeLimitBytes + kBanner.size());
}

TEST_F(WrapperLog, DeletesAFileOneByteOverTheLimitAndSaysSoFirst) {
    makeLog(kSizeLimitBytes + 1);
    controller->initLogFile();
    EXPECT_EQ(log(), "1/2/26, 3:04 PM : Deleted existing log file as it exceeded size limit!\n" + kBanner);
}

TEST_F(WrapperLog, TellsTheSizeToTheSystemLogOnly) {
    makeLog(5);
    controller->initLogFile();
    EXPECT_EQ(machine.systemLog().first(), QStringLiteral("Existing Log file size: 5"));
    EXPECT_FALSE(controller->internalLog().contains(QStringLiteral("Existing Log file size")));
    EXPECT_FALSE(log().contains("Existing Log file size"));
}

TEST_F(WrapperLog, AMissingFileCountsAsEmpty) {
    controller->initLogFile();
    EXPECT_EQ(machine.systemLog().first(), QStringLiteral("Existing Log file size: 0"));
}

TEST_F(WrapperLog, WritesAMessageThatQuotesTheBannerWithoutAStamp) {
    controller->initLogFile();
    controller->WriteLog(QStringLiteral("seen: Initiated Brelund Quorlix Driver yesterday"));
    EXPECT_EQ(log(), kBanner + "seen: Initiated Brelund Quorlix Driver yesterday\n");
}

TEST_F(WrapperLog, WritesAMessageOfSeveralLinesAsItStands) {
    controller->initLogFile();
    controller->WriteLog(QStringLiteral("one\ntwo"));
    EXPECT_EQ(log(), kBanner + "1/2/26, 3:04 PM : one\ntwo\n");
}

TEST_F(WrapperLog, WritesUtf8) {
    controller->initLogFile();
    controller->WriteLog(QStringLiteral("Größe 🖨"));
    EXPECT_TRUE(log().endsWith(QStringLiteral(" : Größe 🖨\n").toUtf8()));
}

TEST_F(WrapperLog, SendsEachMessageToTheSystemLog) {
    controller->initLogFile();
    controller->WriteLog(QStringLiteral("hello"));
    EXPECT_EQ(machine.systemLog().last(), QStringLiteral("hello"));
}

TEST_F(WrapperLog, CollectsTheRunsMessagesInMemoryWithoutStamps) {
    controller->initLogFile();
    controller->WriteLog(QStringLiteral("hello"));
    EXPECT_EQ(controller->internalLog(), QString::fromUtf8(kBanner) + QStringLiteral("hello\n"));
}

TEST_F(WrapperLog, DropsWhatAnEarlierStartCollected) {
    controller->initLogFile();
    controller->WriteLog(QStringLiteral("hello"));
    controller->initLogFile();
    EXPECT_EQ(controller->internalLog(), QString::fromUtf8(kBanner));
}

TEST_F(WrapperLog, OpensTheFolderAndWhatIsInItToEverybodyAtEachStart) {
    machine.write(QStringLiteral("/var/tmp/kyb/other"), "x");
    const QString other = machine.path(QStringLiteral("/var/tmp/kyb/other"));
    chmod(QFile::encodeName(other).constData(), 0600);
    controller->initLogFile();
    EXPECT_EQ(modeOf(other), 0777U);
    EXPECT_EQ(modeOf(machine.path(QStringLiteral("/var/tmp/kyb"))), 0777U);
}

TEST_F(WrapperLog, AFolderThatCannotBeMadeIsReportedAndTheRunGoesOn) {
    QDir(machine.path(QStringLiteral("/var/tmp"))).removeRecursively(); // no parent: mkdir fails for root as well
    controller->initLogFile();
    controller->WriteLog(QStringLiteral("still here"));
    EXPECT_EQ(controller->internalLog(), QStringLiteral("Error: Create folder failed /var/tmp/kyb\n") +
                                             QString::fromUtf8(kBanner) + QStringLiteral("still here\n"));
    EXPECT_FALSE(QFileInfo::exists(logFile()));
}

TEST_F(WrapperLog, AFileInPlaceOfTheFolderIsPassedOver) {
    machine.write(QStringLiteral("/var/tmp/kyb"), "a file");
    controller->initLogFile();
    controller->WriteLog(QStringLiteral("still here"));
    EXPECT_EQ(machine.read(QStringLiteral("/var/tmp/kyb")), "a file");
    EXPECT_TRUE(controller->internalLog().endsWith(QStringLiteral("still here\n")));
    EXPECT_FALSE(controller->internalLog().contains(QStringLiteral("Create folder failed")));
}

TEST_F(WrapperLog, AFolderInPlaceOfTheFileIsPassedOver) {
    QDir().mkpath(logFile());
    controller->initLogFile();
    EXPECT_EQ(controller->internalLog(), QString::fromUtf8(kBanner));
}

TEST_F(WrapperLog, AFileMadeAnewCanBeWrittenByTheNextUserWhateverTheUmask) {
    const mode_t before = umask(077);
    controller->initLogFile();
    umask(before);
    EXPECT_EQ(modeOf(logFile()), 0666U);
}

TEST_F(WrapperLog, ALinkInPlaceOfTheFileIsPassedOver) {
    machine.write(QStringLiteral("/secret"), "not a log\n");
    QDir().mkpath(machine.path(QStringLiteral("/var/tmp/kyb")));
    const QByteArray secret = QFile::encodeName(machine.path(QStringLiteral("/secret")));
    const QByteArray log = QFile::encodeName(logFile());
    for (const auto makeLink : {&symlink, &link}) {
        ASSERT_EQ(makeLink(secret.constData(), log.constData()), 0);
        controller->initLogFile();
        EXPECT_EQ(machine.read(QStringLiteral("/secret")), "not a log\n");
        EXPECT_EQ(controller->internalLog(), QString::fromUtf8(kBanner));
        QFile::remove(logFile());
    }
}

TEST_F(WrapperLog, AFifoInPlaceOfTheFileHoldsNobodyUp) {
    QDir().mkpath(machine.path(QStringLiteral("/var/tmp/kyb")));
    ASSERT_EQ(mkfifo(QFile::encodeName(logFile()).constData(), 0666), 0);
    controller->initLogFile();
    EXPECT_EQ(controller->internalLog(), QString::fromUtf8(kBanner));
}

TEST_F(WrapperLog, LinesOfSeveralThreadsStandWhole) {
    controller->initLogFile();
    constexpr int kThreads = 4;
    constexpr int kLines = 250;
    for (int thread = 0; thread < kThreads; ++thread) {
        kyb::inBackground([this, thread] {
            for (int line = 0; line < kLines; ++line) {
                controller->WriteLog(QStringLiteral("thread %1 line %2 end").arg(thread).arg(line));
            }
        });
    }
    settle();
    const QRegularExpression whole(QStringLiteral("^1/2/26, 3:04 PM : thread \\d line \\d+ end$"));
    const QStringList lines = wrapperLogLines();
    EXPECT_EQ(lines.filter(whole).size(), kThreads * kLines);
    EXPECT_EQ(lines.size(), kThreads * kLines + 3);
    EXPECT_EQ(controller->internalLog().count(QStringLiteral(" end\n")), kThreads * kLines);
}

} // namespace
