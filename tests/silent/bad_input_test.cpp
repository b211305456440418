#include "SilentRun.h"

#include <QDir>
#include <QFile>
#include <csignal>
#include <grp.h>
#include <unistd.h>

namespace {

const QString kDriver = QStringLiteral("/Library/Printers/BrelundQuorlix");

class BadInput : public SilentRun {
protected:
    /// Runs, and expects a failure that is said on standard output and leaves nothing installed.
    void expectFailure() {
        const Outcome outcome = run();
        EXPECT_EQ(outcome.status, 1) << qPrintable(outcome.printed + outcome.errors);
        EXPECT_TRUE(outcome.printed.endsWith(QStringLiteral(":InstallFailed\n"))) << qPrintable(outcome.printed);
        EXPECT_FALSE(exists(kDriver));
    }

    QString package() const { return installerFolder() + QStringLiteral("/OSX/Brelund Quorlix Driver.pkg"); }

    void replacePackage(const QByteArray &content) const {
        QFile file(package());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(content);
    }
};

class FailingPackage : public BadInput, public ::testing::WithParamInterface<const char *> {};

TEST_P(FailingPackage, EndsAsFailedAndLeavesNothing) {
    putInstaller({QStringLiteral("--version"), QStringLiteral("1.0"), QStringLiteral("--fail"),
                  QString::fromLatin1(GetParam())});
    expectFailure();
    EXPECT_EQ(installedVersion(), QString());
}

INSTANTIATE_TEST_SUITE_P(Stages, FailingPackage, ::testing::Values("preinstall", "postinstall", "payload"));

TEST_F(BadInput, APackageThatIsNoneEndsAsFailed) {
    putInstaller();
    replacePackage("this is no package");
    expectFailure();
}

TEST_F(BadInput, AnEmptyPackageFileEndsAsFailed) {
    putInstaller();
    replacePackage("");
    expectFailure();
}

TEST_F(BadInput, AMissingPackageKeepsTheProcessRunningUntilItIsEnded) {
    putInstaller();
    QFile::remove(package());
    const auto process = start();
    waitUntil([this] { return logEntries().contains(QStringLiteral("Silent Installation!!!")); });
    EXPECT_FALSE(process->waitForFinished(300));
    process->terminate();
    EXPECT_EQ(finish(*process).status, -SIGTERM);
    EXPECT_FALSE(exists(QStringLiteral("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool")));
}

TEST_F(BadInput, AMissingVersionListDoesNotMatterToASilentRun) {
    putInstaller();
    QFile::remove(installerFolder() + QStringLiteral("/OSX/macver.list"));
    EXPECT_EQ(run().status, 0);
}

struct FolderRow {
    const char *name;
    int status;
};

class PackagePath : public BadInput, public ::testing::WithParamInterface<FolderRow> {};

TEST_P(PackagePath, StandsBetweenQuotesWithNothingEscaped) {
    setInstallerFolder(QString::fromUtf8(GetParam().name));
    putInstaller();
    const Outcome outcome = run();
    EXPECT_EQ(outcome.status, GetParam().status) << qPrintable(outcome.printed + outcome.errors);
    EXPECT_EQ(exists(kDriver), GetParam().status == 0);
}

INSTANTIATE_TEST_SUITE_P(Folders, PackagePath,
                         ::testing::Values(FolderRow{"with a blank", 0}, FolderRow{"mit Umläut", 0},
                                           FolderRow{"a single ' quote", 0}, FolderRow{"a double \" quote", 1},
                                           FolderRow{"two \"double\" quotes", 1}, FolderRow{"100%s %1 %@", 0},
                                           FolderRow{"$no_such_variable", 1}));

struct ReceiptRow {
    const char *shows;
    QByteArray content;
    bool installed;
};

class Receipt : public BadInput, public ::testing::WithParamInterface<ReceiptRow> {};

TEST_P(Receipt, DecidesWhetherAnEarlierVersionIsRemoved) {
    putInstaller();
    write(QStringLiteral("/var/db/receipts/com.Brelund.QuorlixInstaller.plist"), GetParam().content);
    EXPECT_EQ(run().status, 0);
    EXPECT_EQ(logEntries().contains(QStringLiteral("Preparing for Uninstallation!!!")), GetParam().installed);
    EXPECT_EQ(installedVersion(), QStringLiteral("1.0"));
}

const QByteArray kXmlHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>";
/// {"PackageVersion": "0.9"} as a binary property list.
const QByteArray kBinaryReceipt =
    QByteArray::fromHex("62706c6973743030d101025e5061636b61676556657273696f6e53302e39080b1a"
                        "0000000000000101000000000000000300000000000000000000000000000"
                        "01e");

INSTANTIATE_TEST_SUITE_P(
    Files, Receipt,
    ::testing::Values(
        ReceiptRow{"Empty", "", false}, ReceiptRow{"Broken", "<plist><dict><key>Pack", false},
        ReceiptRow{"WithoutTheKey", kXmlHead + "<key>Other</key><string>1</string></dict></plist>", false},
        ReceiptRow{"Xml", kXmlHead + "<key>PackageVersion</key><string>0.9</string></dict></plist>", true},
        ReceiptRow{"Binary", kBinaryReceipt, true}),
    [](const auto &row) { return row.param.shows; });

TEST_F(BadInput, AMissingSystemVersionReadsAsZero) {
    putInstaller();
    QFile::remove(path(QStringLiteral("/System/Library/CoreServices/SystemVersion.plist")));
    EXPECT_EQ(run().status, 0);
    EXPECT_TRUE(logEntries().contains(QStringLiteral("MacOS Version: 0.0")));
}

TEST_F(BadInput, AFileInPlaceOfTheWorkingFolderEndsTheRunAsFailed) {
    putInstaller();
    write(QStringLiteral("/var/tmp/kyb"), "a file");
    expectFailure();
    EXPECT_EQ(read(QStringLiteral("/var/tmp/kyb")), "a file");
}

TEST_F(BadInput, AProgressFileThatIsDeletedInTheMiddleDoesNotHoldUpTheEnd) {
    putInstaller();
    putProgram(QStringLiteral("/usr/sbin/installer"),
               "#!/bin/sh\n"
               "file=${0%/usr/sbin/installer}/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log\n"
               "echo 'installer:PHASE:Writing files'\n"
               "while [ ! -s \"$file\" ]; do sleep 0.01; done\n"
               "rm \"$file\"\n"
               "echo 'installer: The install was successful.'\n");
    EXPECT_EQ(run().status, 0);
}

TEST_F(BadInput, AnInstallerThatIsKilledEndsTheRunAsFailed) {
    putInstaller();
    putProgram(QStringLiteral("/usr/sbin/installer"), "#!/bin/sh\necho 'installer:PHASE:Writing files'\nkill -9 $$\n");
    expectFailure();
}

TEST_F(BadInput, AnInstallerThatIsMissingEndsTheRunAsFailed) {
    putInstaller();
    QFile::remove(path(QStringLiteral("/usr/sbin/installer")));
    expectFailure();
}

TEST_F(BadInput, FiftyMegabytesOfOutputAreFollowedToTheirEnd) {
    putInstaller();
    putProgram(QStringLiteral("/usr/sbin/installer"), "#!/bin/sh\nyes 'installer:%12.000000' | head -c 50000000\necho\n"
                                                      "echo 'installer: The install was successful.'\n");
    EXPECT_EQ(run().status, 0);
}

TEST_F(BadInput, InvalidTextInTheNextToLastLineEndsTheRunAsFailed) {
    putInstaller();
    putProgram(QStringLiteral("/usr/sbin/installer"),
               "#!/bin/sh\nroot=${0%/usr/sbin/installer}\nprintf 'installer:PHASE:\\377\\nx\\n'\n"
               "i=0; while [ $i -lt 300 ]; do sleep 0.02; i=$((i + 1)); done\n");
    expectFailure();
}

TEST_F(BadInput, OutputWithoutAFinalLineEndIsReadWhole) {
    putInstaller();
    putProgram(QStringLiteral("/usr/sbin/installer"),
               "#!/bin/sh\nprintf 'installer: The install failed. (x)'\nexit 1\n");
    expectFailure();
}

TEST_F(BadInput, AHelperThatIsKilledInTheMiddleEndsTheRunAsFailed) {
    putInstaller();
    putProgram(QStringLiteral("/usr/sbin/installer"),
               "#!/bin/sh\ntouch \"${0%/usr/sbin/installer}/waiting\"\nexec sleep 20\n");
    const auto process = start();
    waitUntil([this] { return exists(QStringLiteral("/waiting")); });
    for (const int helper : helpers()) {
        kill(helper, SIGKILL);
    }
    const Outcome outcome = finish(*process);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(logEntries().contains(QStringLiteral("XPC connection interupted.")));
}

TEST_F(BadInput, AHelperThatCannotBeExecutedEndsTheRunAsFailed) {
    putInstaller();
    write(QStringLiteral("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool"), "no program");
    QFile::setPermissions(path(QStringLiteral("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool")),
                          QFile::Permissions(0x7755));
    const Outcome outcome = run();
    // The probe's failure may come in time for the helper to be registered again, or not.
    EXPECT_TRUE(outcome.status == 0 || outcome.status == 1) << outcome.status;
    EXPECT_EQ(exists(kDriver), outcome.status == 0);
}

struct NonsenseRow {
    const char *kind;
    const char *logged;
};

class NonsenseHelper : public BadInput, public ::testing::WithParamInterface<NonsenseRow> {};

TEST_P(NonsenseHelper, EndsTheRunAsFailedWithItsText) {
    putInstaller();
    putHelper(QStringLiteral(KYB_NONSENSE_HELPER));
    write(QStringLiteral("/Library/PrivilegedHelperTools/nonsense"), GetParam().kind);
    const Outcome outcome = run();
    EXPECT_EQ(outcome.status, 1) << qPrintable(outcome.errors);
    EXPECT_TRUE(logEntries().contains(QString::fromLatin1(GetParam().logged))) << qPrintable(outcome.errors);
}

INSTANTIATE_TEST_SUITE_P(Kinds, NonsenseHelper,
                         ::testing::Values(NonsenseRow{"close", "XPC connection interupted."},
                                           NonsenseRow{"half", "XPC connection interupted."},
                                           NonsenseRow{"garbage", "Unexpected XPC connection error."},
                                           NonsenseRow{"array", "Unexpected XPC connection error."},
                                           NonsenseRow{"oversize", "Unexpected XPC connection error."}),
                         [](const auto &row) { return row.param.kind; });

/// Becomes somebody who owns nothing of the root folder, if this is root.
void becomeAnotherUser() {
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0)) {
        _exit(99);
    }
}

TEST_F(BadInput, ARefusedHelperIsLoggedAndNothingIsInstalled) {
    putInstaller();
    environment.insert(QStringLiteral("KYB_SYSTEM_ROOT"), QStringLiteral("/usr")); // it is root's, whoever runs this
    inChild = becomeAnotherUser;
    const auto process = start();
    QByteArray errors;
    waitUntil([&] {
        process->waitForReadyRead(10);
        errors += process->readAllStandardError();
        return errors.contains("Failed to install the Helper Tool. Error: (null)");
    });
    EXPECT_TRUE(errors.contains("Failed to create AuthorizationRef. Error code: -60005"));
    EXPECT_FALSE(process->waitForFinished(200));
    process->terminate();
    EXPECT_EQ(finish(*process).status, -SIGTERM);
}

struct RootRow {
    const char *shows;
    const char *root;
};

class BadRoot : public BadInput, public ::testing::WithParamInterface<RootRow> {};

TEST_P(BadRoot, EndsAtOnceWithAClearLineAndStatusTwo) {
    putInstaller();
    environment.insert(QStringLiteral("KYB_SYSTEM_ROOT"), QString::fromUtf8(GetParam().root));
    const Outcome outcome = run();
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors.count(u'\n'), 1) << qPrintable(outcome.errors);
    EXPECT_TRUE(outcome.errors.contains(QStringLiteral("KYB_SYSTEM_ROOT"))) << qPrintable(outcome.errors);
    EXPECT_EQ(outcome.printed, QString());
}

INSTANTIATE_TEST_SUITE_P(Values, BadRoot,
                         ::testing::Values(RootRow{"Relative", "usr"}, RootRow{"Missing", "/no/such/folder"},
                                           RootRow{"AFile", "/etc/passwd"}, RootRow{"NeedsQuoting", "/tmp/a b"},
                                           RootRow{"Empty", ""}),
                         [](const auto &row) { return row.param.shows; });

} // namespace
