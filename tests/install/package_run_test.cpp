#include "ControllerTest.h"
#include "posix/UniqueFd.h"

#include <QDir>
#include <QFile>
#include <QTemporaryFile>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

using namespace std::chrono_literals;

/// Takes what the process prints as long as it lives: what has been flushed, and not what waits in a buffer.
class TakenOutput {
public:
    TakenOutput() {
        taken_.open();
        std::fflush(stdout);
        dup2(taken_.handle(), STDOUT_FILENO);
    }
    ~TakenOutput() {
        std::fflush(stdout);
        dup2(before_.get(), STDOUT_FILENO);
    }
    TakenOutput(const TakenOutput &) = delete;
    TakenOutput &operator=(const TakenOutput &) = delete;

    QString text() const {
        QByteArray bytes(1 << 20, '\0');
        bytes.truncate(pread(taken_.handle(), bytes.data(), static_cast<size_t>(bytes.size()), 0));
        return QString::fromUtf8(bytes);
    }

private:
    const kyb::UniqueFd before_{dup(STDOUT_FILENO)};
    QTemporaryFile taken_;
};

/// How many descriptors this process has open.
qsizetype openDescriptors() {
    return QDir(QStringLiteral("/dev/fd")).entryList(QDir::Files | QDir::System).size();
}

/// A run whose installer output is told pass by pass: time moves only when the run sleeps, and each sleep of 0.05
/// seconds shows the next file.
class PackageRun : public ControllerTest {
protected:
    PackageRun() {
        isSilentInstall = true;
        installationInProgress = true;
        makeSelectedApp();
        machine.onSleep = [this](std::chrono::milliseconds duration) {
            if (duration == 50ms) {
                showNextFile();
            }
        };
    }

    /// The content of the progress file at each pass; the last stays. A null one removes the file.
    std::vector<QByteArray> files;

    /// Runs the installation in the background, with the main thread's loop turning, and collects what it prints. The
    /// story tells each line as soon as it is printed.
    void run() {
        const TakenOutput output;
        qsizetype told = 0;
        machine.alsoHappened = [&output, &told] {
            const QString all = output.text();
            const QString rest = all.sliced(std::exchange(told, all.size()));
            return rest.isEmpty() ? QStringList() : QStringList{QStringLiteral("print ") + rest};
        };
        kyb::inBackground([this] { returned = controller->installPackage(); });
        settle();
        printed = output.text();
        machine.alsoHappened = nullptr;
    }

    void startOver() { next_ = 0; }

    QStringList printedLines() const { return printed.split(u'\n').sliced(0, printed.count(u'\n')); }

    QString printed;
    bool returned = false;

private:
    void showNextFile() {
        if (next_ < files.size()) {
            const QByteArray &file = files[next_++];
            if (file.isNull()) {
                QFile::remove(machine.path(kProgress));
            } else {
                machine.write(kProgress, file);
            }
        } else {
            ASSERT_LT(++extraPasses_, 200) << "the run does not end";
        }
    }

    std::size_t next_ = 0;
    int extraPasses_ = 0;
};

QByteArray ending(const QByteArray &lines) {
    return lines + "Installation_Done\n";
}

TEST_F(PackageRun, PrintsAPercentageAndAKeyForEachPassAndEndsAtTheLastLine) {
    files = {"installer:PHASE:Preparing for installation\u2026\ninstaller:STATUS:\n",
             "installer:PHASE:Writing files\u2026\nx\n", ending("installer: The install was successful.\n")};
    run();
    EXPECT_EQ(printed, QStringLiteral("5:PHASE_PrepareInstall\n14:PHASE_PrepareInstall\n18:PHASE_WriteFiles\n18:\n"));
    EXPECT_TRUE(returned);
    EXPECT_FALSE(installFailed);
    EXPECT_FALSE(installationInProgress);
}

TEST_F(PackageRun, KeepsItsOrderAndPrintsEachLineAtOnce) {
    controller->startMonitoringLogFile();
    files = {"installer:PHASE:Writing files\u2026\nx\n", ending("a\n")};
    run();
    const QStringList story = machine.story();
    EXPECT_EQ(
        story.sliced(story.indexOf(QStringLiteral("[1] starts"))),
        (QStringList{
            QStringLiteral("[1] starts"),
            QStringLiteral("[1] log Installing %1/Installer Folder/OSX/Brelund Quorlix Driver.pkg").arg(machine.root()),
            QStringLiteral("print 5:PHASE_PrepareInstall\n"),
            QStringLiteral("[1] connect com.kyb.HelperTool.xpc"),
            QStringLiteral("[1] handler"),
            QStringLiteral("[1] resume"),
            QStringLiteral("[1] send"),
            QStringLiteral("[1] release"),
            QStringLiteral("[1] sleep 2000"),
            QStringLiteral("[1] sleep 50"),
            QStringLiteral("print 14:PHASE_WriteFiles\n"),
            QStringLiteral("[1] sleep 50"),
            QStringLiteral("print 14:\n"),
            QStringLiteral("[1] log End of Installation"),
            QStringLiteral("flag installationInProgress no"),
            QStringLiteral("[1] terminate"),
        }));
}

TEST_F(PackageRun, ClosesTheStreamsOfEachPassButTheVeryLast) {
    for (const std::size_t passes : {1U, 2U, 8U}) {
        files.assign(passes - 1, "installer:PHASE:Writing files\u2026\nx\n");
        files.push_back(ending("a\n"));
        startOver();
        const qsizetype before = openDescriptors();
        run();
        EXPECT_EQ(openDescriptors(), before + 1) << passes;
    }
}

TEST_F(PackageRun, SendsTheInstallersCommandLineWithTheProgressFile) {
    files = {ending("a\n")};
    run();
    ASSERT_EQ(machine.requests().size(), 1U);
    EXPECT_EQ(machine.requests()[0].text(kyb::kCommandKey),
              QStringLiteral("%1/usr/sbin/installer -pkg \"%1/Installer Folder/OSX/Brelund Quorlix Driver.pkg\" "
                             "-target / -verboseR")
                  .arg(machine.root())
                  .toUtf8());
    EXPECT_EQ(machine.requests()[0].text(kyb::kInstallerLogPathKey), machine.path(kProgress).toUtf8());
}

TEST_F(PackageRun, LogsThePackageAndTellsTheEndToTheSystemLogOnly) {
    files = {ending("a\n")};
    run();
    EXPECT_EQ(controller->internalLog(),
              QStringLiteral("Installing %1/Installer Folder/OSX/Brelund Quorlix Driver.pkg\n").arg(machine.root()));
    EXPECT_EQ(machine.systemLog().last(), QStringLiteral("End of Installation"));
}

TEST_F(PackageRun, AFileThatIsNotThereYetIsWaitedForOnce) {
    files = {QByteArray(), QByteArray(), ending("a\n")};
    run();
    const auto sleeps = machine.sleeps();
    EXPECT_EQ(sleeps.front(), 2000ms);
    EXPECT_EQ(std::count(sleeps.begin(), sleeps.end(), 2000ms), 1);
    EXPECT_EQ(printed, QStringLiteral("5:PHASE_PrepareInstall\n10:\n10:\n10:\n"));
}

TEST_F(PackageRun, AFileThatIsThereIsNotWaitedFor) {
    machine.helper = [this](const auto &, const auto &, const auto &) { machine.write(kProgress, "x\n"); };
    files = {ending("a\n")};
    run();
    EXPECT_EQ(machine.sleeps(), std::vector<std::chrono::milliseconds>{50ms});
}

TEST_F(PackageRun, AFileThatIsNeverMadeEndsOnlyWithAFailureFromElsewhere) {
    int passes = 0;
    machine.onSleep = [&passes](std::chrono::milliseconds duration) {
        if (duration == 50ms && ++passes == 30) {
            installFailed = true;
        }
    };
    run();
    EXPECT_EQ(passes, 30);
    EXPECT_EQ(printedLines().last(), QStringLiteral("14:InstallFailed"));
}

TEST_F(PackageRun, TwentyPassesOfOneTextReachEightyEightAndStayThere) {
    files.assign(25, "installer:PHASE:Writing files\u2026\nx\n");
    files.push_back(ending("installer: The install was successful.\n"));
    run();
    QStringList expected{QStringLiteral("5:PHASE_PrepareInstall")};
    for (int pass = 1; pass <= 25; ++pass) {
        expected << QStringLiteral("%1:PHASE_WriteFiles").arg(std::min(10 + 4 * pass, 88));
    }
    expected << QStringLiteral("88:");
    EXPECT_EQ(printedLines(), expected);
    EXPECT_EQ(expected.at(20), QStringLiteral("88:PHASE_WriteFiles"));
    EXPECT_EQ(expected.at(19), QStringLiteral("86:PHASE_WriteFiles"));
}

TEST_F(PackageRun, TheSuccessLineNeitherStepsNorChangesTheText) {
    files = {"installer:PHASE:The software was successfully installed.\nx\n", ending("a\n")};
    run();
    EXPECT_EQ(printedLines().at(1), QStringLiteral("10:"));
}

TEST_F(PackageRun, ATextOfNoRowIsPrintedRawWithItsLineEndStillAttached) {
    files = {"installer:PHASE:Checking packages\u2026\nx\n", ending("a\n")};
    run();
    EXPECT_EQ(printed, QStringLiteral("5:PHASE_PrepareInstall\n14:Checking packages\u2026\n\n14:\n"));
}

TEST_F(PackageRun, AnEmptyStatusLineYieldsATextOfOneLineEndAndStepsTheValue) {
    files = {"installer:STATUS:\nx\n", ending("a\n")};
    run();
    EXPECT_EQ(printed, QStringLiteral("5:PHASE_PrepareInstall\n14:\n\n14:\n"));
}

TEST_F(PackageRun, ThePercentageOfTheInstallerIsNotShown) {
    files = {"installer:%45.300000\nx\n", ending("a\n")};
    run();
    EXPECT_EQ(printedLines().at(1), QStringLiteral("14:PHASE_RunScripts"));
}

TEST_F(PackageRun, LooksAtTheNextToLastLineAndAtTheOnlyOneOfAFileOfOneLine) {
    files = {"installer:PHASE:Writing files\u2026\n",
             "installer:PHASE:Writing files\u2026\ninstaller:PHASE:Cleaning up\u2026\ninstaller:%1\n", ending("a\n")};
    run();
    EXPECT_EQ(printedLines().at(1), QStringLiteral("14:PHASE_WriteFiles"));
    EXPECT_EQ(printedLines().at(2), QStringLiteral("18:PHASE_Cleaning"));
}

TEST_F(PackageRun, ALineWithoutItsEndIsReadAsItStands) {
    files = {"installer:PHASE:Writing files\u2026\ninstaller:PHASE:Clea", ending("a\n")};
    run();
    EXPECT_EQ(printedLines().at(1), QStringLiteral("14:PHASE_WriteFiles"));
}

TEST_F(PackageRun, AReadThatYieldsNothingKeepsTheLastLineRead) {
    files = {"installer:PHASE:Writing files\u2026\ninstaller:PHASE:Cleaning up\u2026\n", QByteArray(), QByteArray(),
             ending("a\n")};
    run();
    // The last read of the first pass was its last line.
    EXPECT_EQ(printedLines().sliced(1, 3),
              (QStringList{QStringLiteral("14:PHASE_WriteFiles"), QStringLiteral("18:PHASE_Cleaning"),
                           QStringLiteral("22:PHASE_Cleaning")}));
}

TEST_F(PackageRun, AnEmptyFileKeepsTheLastLineReadToo) {
    files = {"installer:PHASE:Cleaning up\u2026\n", "", ending("a\n")};
    run();
    EXPECT_EQ(printedLines().at(2), QStringLiteral("18:PHASE_Cleaning"));
}

TEST_F(PackageRun, WhatIsNoFileInTheFilesPlaceIsPassedOver) {
    const QByteArray path = QFile::encodeName(machine.path(kProgress));
    machine.write(QStringLiteral("/elsewhere"), ending("installer: The install failed\n"));
    const QByteArray elsewhere = QFile::encodeName(machine.path(QStringLiteral("/elsewhere")));
    files = {"installer:PHASE:Writing files\nx\n", {}, {}, {}, ending("installer: The install was successful.\n")};
    machine.onSleep = [&, show = machine.onSleep, looks = 0](std::chrono::milliseconds duration) mutable {
        show(duration);
        looks += duration == 50ms ? 1 : 0;
        if (looks == 2) {
            ASSERT_EQ(mkfifo(path.constData(), 0600), 0);
        } else if (looks == 3) {
            ASSERT_EQ(symlink(elsewhere.constData(), path.constData()), 0);
        }
    };
    run();
    EXPECT_EQ(printed, QStringLiteral("5:PHASE_PrepareInstall\n14:PHASE_WriteFiles\n14:\n14:\n14:\n14:\n"));
    EXPECT_FALSE(installFailed);
}

/// As `tail` waits at a FIFO that has come into the file's place at the very moment of a look.
TEST_F(PackageRun, ALookThatHangsIsGivenUp) {
    files = {"installer:PHASE:Writing files\nx\n"};
    installFailed = true;
    machine.write(QStringLiteral("/bin/tail"),
                  "#!/bin/sh\necho >>\"$0.begun\"\nwhile [ -e \"$0\" ]; do sleep 0.1; done\n");
    const QString program = machine.path(QStringLiteral("/bin/tail"));
    ASSERT_TRUE(QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    const QByteArray pathBefore = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(machine.path(QStringLiteral("/bin:"))) + pathBefore);
    const auto before = std::chrono::steady_clock::now();
    run();
    qputenv("PATH", pathBefore);
    EXPECT_TRUE(QFile::exists(program + QStringLiteral(".begun")));
    EXPECT_GE(std::chrono::steady_clock::now() - before, 2s);
}

class FailureText : public PackageRun, public ::testing::WithParamInterface<const char *> {};

TEST_P(FailureText, MarksTheFailureAndEndsTheRunAfterThatPass) {
    files = {QByteArray(GetParam()) + "\nx\n"};
    run();
    EXPECT_TRUE(installFailed);
    EXPECT_EQ(printed, QStringLiteral("5:PHASE_PrepareInstall\n14:InstallFailed\n"));
}

INSTANTIATE_TEST_SUITE_P(Texts, FailureText,
                         ::testing::Values("installer: The install failed. (x)", "installer: The upgrade failed. (x)",
                                           "installer: Certificate used to sign package is not trusted. x",
                                           "installer: Error - the package path specified was invalid: '/x'."));

TEST_F(PackageRun, AFailureFromElsewhereIsShownAtTheNextPassAndEndsTheRun) {
    files = {"nothing\nx\n"};
    machine.onSleep = [this](std::chrono::milliseconds) {
        machine.write(kProgress, "nothing\nx\n");
        installFailed = true;
    };
    run();
    EXPECT_EQ(printedLines().last(), QStringLiteral("14:InstallFailed"));
}

TEST_F(PackageRun, AnErrorOfNoFailureTextCountsAsASuccess) {
    files = {ending("installer: something else went wrong\n")};
    run();
    EXPECT_FALSE(installFailed);
}

TEST_F(PackageRun, ALineThatIsNotUtf8MarksAFailure) {
    files = {"installer:PHASE:\xff\nx\n"};
    run();
    EXPECT_TRUE(installFailed);
    EXPECT_EQ(printedLines().last(), QStringLiteral("14:InstallFailed"));
}

TEST_F(PackageRun, OfALongLineTheFirst1023BytesCount) {
    const QByteArray begin = "installer:PHASE:Writing files ";
    files = {begin + QByteArray(5000, 'x') + "\nlast\n", ending("a\n")};
    run();
    EXPECT_EQ(printedLines().at(1), QStringLiteral("14:PHASE_WriteFiles"));

    // A failure text that begins after them is not seen.
    EXPECT_FALSE(installFailed);
}

TEST_F(PackageRun, AFailureTextBehindTheFirst1023BytesIsNotSeen) {
    files = {QByteArray(1020, 'x') + "installer: The install failed\nlast\n", ending("a\n")};
    run();
    EXPECT_FALSE(installFailed);
}

TEST_F(PackageRun, ALineCutInTheMiddleOfACharacterMarksAFailure) {
    files = {QByteArray(1022, 'x') + "ä rest\nlast\n"};
    run();
    EXPECT_TRUE(installFailed);
}

TEST_F(PackageRun, AFileOfFiftyMegabytesIsReadFromItsEnd) {
    files = {QByteArray("installer:%1.000000\n").repeated(2'500'000) + "installer:PHASE:Cleaning up\u2026\nx\n",
             ending("a\n")};
    run();
    EXPECT_EQ(printedLines().at(1), QStringLiteral("14:PHASE_Cleaning"));
}

TEST_F(PackageRun, ALineOfManyMegabytesIsReadLikeAnyOther) {
    files = {"installer:PHASE:Cleaning up " + QByteArray(20'000'000, 'y') + "\nx\n", ending("a\n")};
    run();
    EXPECT_EQ(printedLines().at(1), QStringLiteral("14:PHASE_Cleaning"));
}

TEST_F(PackageRun, TheLastLineNeedsOnlyToBeginWithTheEnd) {
    files = {"a\n  Installation_Done and more\n"};
    run();
    EXPECT_EQ(printedLines().size(), 2);
}

TEST_F(PackageRun, StopsTheLogCapture) {
    controller->startMonitoringLogFile();
    files = {ending("a\n")};
    run();
    EXPECT_EQ(machine.journal().last(), QStringLiteral("terminate"));
}

TEST_F(PackageRun, PostsEachValueToTheBarInSilentModeToo) {
    connectScreens();
    files = {"installer:PHASE:Writing files\u2026\nx\n", ending("a\n")};
    run();
    EXPECT_EQ(screen("installProgressIndicator").values, (std::vector<double>{10, 14, 14}));
    EXPECT_EQ(screen("progressInfoLabel").currentText, QStringLiteral("PHASE_WriteFiles"));
}

TEST_F(PackageRun, InteractiveModeShowsLocalizedTextsAndPrintsNothing) {
    isSilentInstall = false;
    connectScreens();
    putTexts("\"PHASE_WriteFiles\" = \"Copying\";\n\"PHASE_PrepareInstall\" = \"Getting ready\";");
    files = {"installer:PHASE:Writing files\u2026\nx\n", "installer:PHASE:Checking packages\u2026\nx\n", ending("a\n")};
    run();
    EXPECT_EQ(printed, QString());
    EXPECT_EQ(screen("installProgressIndicator").values, (std::vector<double>{5, 10, 14, 18, 18}));
    EXPECT_EQ(screens.journal.filter(QStringLiteral("progressInfoLabel text")),
              (QStringList{QStringLiteral("progressInfoLabel text \"Getting ready\""),
                           QStringLiteral("progressInfoLabel text \"Copying\""),
                           QStringLiteral("progressInfoLabel text \"Checking packages\u2026\n\"")}));
}

TEST_F(PackageRun, TheScreenIsPreparedBeforeTheCommandIsSentAndDrawnAtEachPass) {
    isSilentInstall = false;
    connectScreens();
    machine.helper = [this](const auto &, const auto &, const auto &) {
        kyb::onMainThreadAndWait([] {});
        machine.tell(QStringLiteral("is sent"));
    };
    files = {"installer:PHASE:Writing files\u2026\nx\n", ending("a\n")};
    run();
    QStringList story = machine.story();
    story.removeIf([](const QString &event) {
        return event.startsWith(u"flag") || (event.startsWith(u'[') && event != u"[1] is sent");
    });
    const QStringList drawn{QStringLiteral("installProgressIndicator display if needed"),
                            QStringLiteral("progressInfoLabel display if needed")};
    EXPECT_EQ(story, QStringList({QStringLiteral("installProgressIndicator value 5"),
                                  QStringLiteral("progressInfoLabel text \"PHASE_PrepareInstall\"")}) +
                         drawn +
                         QStringList({QStringLiteral("[1] is sent"), QStringLiteral("installProgressIndicator animate"),
                                      QStringLiteral("installProgressIndicator value 10"),
                                      QStringLiteral("installProgressIndicator display"),
                                      QStringLiteral("installProgressIndicator value 14"),
                                      QStringLiteral("progressInfoLabel text \"PHASE_WriteFiles\"")}) +
                         drawn + QStringList({QStringLiteral("installProgressIndicator value 14")}) + drawn);
}

} // namespace
