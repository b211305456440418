#include "ControllerTest.h"

#include <QFile>
#include <QFileInfo>
#include <sys/stat.h>

namespace {

using kyb::ConnectionEvent;
using kyb::ConnectionEventKind;
using InstallerLog = KYViewController::InstallerLog;

const QString kProgress = QStringLiteral("/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log");

class CommandChannel : public ControllerTest {
protected:
    /// Sends a command to a helper that answers with \p event.
    void sendAndGet(const ConnectionEvent &event) {
        machine.helper = [event](const auto &, const kyb::ConnectionEventHandler &onEvent, const auto &) {
            onEvent(event);
        };
        controller->xpcConnection(QStringLiteral("ls"), InstallerLog::No);
    }

    /// The keys and values of the only message that was sent.
    using Fields = std::vector<std::pair<QByteArray, QByteArray>>;
    Fields sentFields() const {
        Fields fields;
        const kyb::HelperMessage message = machine.requests().at(0).message;
        for (const auto &[key, value] : message) {
            fields.emplace_back(key, value);
        }
        return fields;
    }

    void sendAndGetReply(const std::optional<QByteArray> &reply) {
        machine.helper = [reply](const auto &, const auto &, const kyb::ReplyHandler &onReply) { onReply(reply); };
        controller->xpcConnection(QStringLiteral("ls"), InstallerLog::No);
    }
};

TEST_F(CommandChannel, OpensAConnectionForEachCommandInOrder) {
    controller->xpcConnection(QStringLiteral("ls"), InstallerLog::No);
    EXPECT_EQ(machine.journal(),
              (QStringList{QStringLiteral("connect com.kyb.HelperTool.xpc"), QStringLiteral("handler"),
                           QStringLiteral("resume"), QStringLiteral("send"), QStringLiteral("release")}));
}

TEST_F(CommandChannel, SendsTheCommandExactlyAsItWasBuilt) {
    controller->xpcConnection(QStringLiteral(" echo \"ü\" %1 "), InstallerLog::No);
    ASSERT_EQ(machine.requests().size(), 1U);
    EXPECT_EQ(sentFields(), (Fields{{"command_to_be_execute", QStringLiteral(" echo \"ü\" %1 ").toUtf8()}}));
}

TEST_F(CommandChannel, WithTheInstallersLogTheOldFileIsRemovedBeforeSending) {
    machine.write(kProgress, "old");
    bool removedBefore = false;
    machine.helper = [&](const auto &, const auto &, const auto &) {
        removedBefore = !QFileInfo::exists(machine.path(kProgress));
    };
    controller->xpcConnection(QStringLiteral("x"), InstallerLog::Yes);
    EXPECT_TRUE(removedBefore);
    EXPECT_EQ(machine.requests()[0].text("installerlog_file_path"), machine.path(kProgress).toUtf8());
}

TEST_F(CommandChannel, TheOldFileIsRemovedEvenIfTheHelperNeverRuns) {
    machine.write(kProgress, "old");
    machine.connectionCanBeMade = false;
    controller->xpcConnection(QStringLiteral("x"), InstallerLog::Yes);
    EXPECT_FALSE(QFileInfo::exists(machine.path(kProgress)));
}

TEST_F(CommandChannel, WithTheInstallersLogThePathIsSentWhetherOrNotAFileWasThere) {
    controller->xpcConnection(QStringLiteral("x"), InstallerLog::Yes);
    EXPECT_EQ(machine.requests()[0].text("installerlog_file_path"), machine.path(kProgress).toUtf8());
}

TEST_F(CommandChannel, WithoutTheInstallersLogTheFileIsLeftAloneAndNotNamed) {
    machine.write(kProgress, "old");
    controller->xpcConnection(QStringLiteral("x"), InstallerLog::No);
    EXPECT_EQ(machine.read(kProgress), "old");
    EXPECT_TRUE(machine.requests()[0].text("installerlog_file_path").isNull());
}

TEST_F(CommandChannel, AConnectionThatCannotBeMadeIsAFailureAndTheCallGoesOnWithoutIt) {
    machine.connectionCanBeMade = false;
    controller->xpcConnection(QStringLiteral("ls"), InstallerLog::No);
    EXPECT_TRUE(installFailed);
    EXPECT_EQ(controller->internalLog(), QStringLiteral("Failed to create XPC connection.\n"));
    EXPECT_EQ(machine.journal(),
              (QStringList{QStringLiteral("connect com.kyb.HelperTool.xpc"), QStringLiteral("handler"),
                           QStringLiteral("resume"), QStringLiteral("send"), QStringLiteral("release")}));
}

TEST_F(CommandChannel, EachEventIsAFailureWithItsOwnText) {
    struct Row {
        ConnectionEvent event;
        const char *logged;
        bool isToldFirst = false; ///< before the flag is set
    };
    const Row rows[] = {
        {{ConnectionEventKind::Interrupted, {}}, "XPC connection interupted.\n"},
        {{ConnectionEventKind::Invalid, {}}, "XPC connection invalid, releasing.\n"},
        {{ConnectionEventKind::OtherError, {}}, "Unexpected XPC connection error.\n"},
        {{ConnectionEventKind::NotAnError, QStringLiteral("OS_xpc_dictionary")},
         "Unexpected XPC connection event.: OS_xpc_dictionary\n",
         true},
    };
    for (const Row &row : rows) {
        controller->initLogFile();
        const QString before = controller->internalLog();
        installFailed = false;
        sendAndGet(row.event);
        EXPECT_TRUE(installFailed) << row.logged;
        const QString logged = QString::fromLatin1(row.logged);
        EXPECT_EQ(controller->internalLog().sliced(before.size()), logged);
        const QString flag = QStringLiteral("flag installFailed yes");
        const QString line = QStringLiteral("log ") + logged.chopped(1);
        const QStringList story = machine.story();
        EXPECT_EQ(story.sliced(story.lastIndexOf(QStringLiteral("send")) + 1),
                  (row.isToldFirst ? QStringList{line, flag} : QStringList{flag, line}) +
                      QStringList{QStringLiteral("release")});
    }
}

TEST_F(CommandChannel, AReplyIsOnlyLogged) {
    sendAndGetReply("Fertig, schöner Tag");
    EXPECT_EQ(controller->internalLog(), QStringLiteral("Received response: Fertig, schöner Tag.\n"));
    EXPECT_FALSE(installFailed);
}

TEST_F(CommandChannel, AReplyWithoutItsKeyReadsAsANullString) {
    sendAndGetReply(std::nullopt);
    EXPECT_EQ(controller->internalLog(), QStringLiteral("Received response: (null).\n"));
    EXPECT_FALSE(installFailed);
}

TEST_F(CommandChannel, AMissingHelperGivesTheEventAndAReplyThatIsNone) {
    machine.helper = [](const auto &, const kyb::ConnectionEventHandler &onEvent, const kyb::ReplyHandler &onReply) {
        onEvent({ConnectionEventKind::Invalid, {}});
        onReply(std::nullopt);
    };
    controller->xpcConnection(QStringLiteral("ls"), InstallerLog::No);
    EXPECT_EQ(controller->internalLog(),
              QStringLiteral("XPC connection invalid, releasing.\nReceived response: (null).\n"));
    EXPECT_TRUE(installFailed);
}

TEST_F(CommandChannel, RegistersWhenTheRightsAreGranted) {
    std::optional<QString> error;
    EXPECT_TRUE(controller->registerHelperTool(QStringLiteral("label"), &error));
    EXPECT_EQ(controller->internalLog(), QStringLiteral("Authorization successful\n"));
    EXPECT_EQ(machine.journal(),
              (QStringList{QStringLiteral("ask for rights"), QStringLiteral("install helper label")}));
}

TEST_F(CommandChannel, ADismissedPromptRegistersNothingAndLeavesTheErrorAlone) {
    machine.rightsStatus = -60006;
    std::optional<QString> error;
    EXPECT_FALSE(controller->registerHelperTool(QStringLiteral("label"), &error));
    EXPECT_EQ(controller->internalLog(), QStringLiteral("Failed to create AuthorizationRef. Error code: -60006\n"));
    EXPECT_EQ(machine.journal(), QStringList{QStringLiteral("ask for rights")});
    EXPECT_EQ(error, std::nullopt);
}

TEST_F(CommandChannel, ARefusedInstallationOfTheHelperIsNotLoggedHere) {
    machine.helperCanBeInstalled = false;
    std::optional<QString> error;
    EXPECT_FALSE(controller->registerHelperTool(QStringLiteral("label"), &error));
    EXPECT_EQ(controller->internalLog(), QStringLiteral("Authorization successful\n"));
    EXPECT_EQ(error, std::nullopt);
}

class Script : public CommandChannel {
protected:
    /// A script, at a path with a blank and an umlaut, that leaves a file when it has ended.
    QString putScript() const {
        machine.write(QStringLiteral("/Ordner mit Ü/script.sh"),
                      "#!/bin/sh\nsleep 0.1\ntouch \"$(dirname \"$0\")/ran\"\n");
        const QString path = machine.path(QStringLiteral("/Ordner mit Ü/script.sh"));
        chmod(QFile::encodeName(path).constData(), 0755);
        return path;
    }

    bool hasRun() const { return QFileInfo::exists(machine.path(QStringLiteral("/Ordner mit Ü/ran"))); }
};

TEST_F(Script, SilentModeRunsItDirectlyAndWaitsForItsEnd) {
    isSilentInstall = true;
    controller->runScriptWithAuthorization(putScript());
    EXPECT_TRUE(hasRun());
    EXPECT_TRUE(machine.requests().empty());
}

TEST_F(Script, SilentModeTakesAQuotedScriptAsItStands) {
    isSilentInstall = true;
    controller->runScriptWithAuthorization(QStringLiteral("'%1'").arg(putScript()));
    EXPECT_TRUE(hasRun());
}

TEST_F(Script, WithScreensItIsHandedToTheHelperAlwaysWrapped) {
    controller->runScriptWithAuthorization(QStringLiteral("\"/a b.sh\""));
    ASSERT_EQ(machine.requests().size(), 1U);
    EXPECT_EQ(sentFields(), (Fields{{"command_to_be_execute", "/bin/sh \"\"/a b.sh\"\""}}));
}

} // namespace
