#include "controller/KYViewController.h"

#include "base/KYGlobalConstants.h"
#include "channel/message_keys.h"
#include "platform/helper_connection.h"
#include "platform/privileges.h"
#include "platform/system_root.h"
#include "privileged/script_commands.h"

#include <QFile>
#include <cstdio>
#include <string_view>

using kyb::ConnectionEvent;
using kyb::ConnectionEventKind;

namespace {

static_assert(std::string_view(installProgressLog) == kyb::kProgressMessageFile, "the helper writes no other file");

/// What is logged for an event.
QString description(const ConnectionEvent &event) {
    switch (event.kind) {
    case ConnectionEventKind::Interrupted:
        return QStringLiteral("XPC connection interupted."); // NB: spelled so; administrators search for it
    case ConnectionEventKind::Invalid:
        return QStringLiteral("XPC connection invalid, releasing.");
    case ConnectionEventKind::NotAnError:
        return QStringLiteral("Unexpected XPC connection event.: %1").arg(event.typeDescription);
    case ConnectionEventKind::OtherError:
        break;
    }
    return QStringLiteral("Unexpected XPC connection error.");
}

/// The reply's text as a C string's in a message: a null one reads "(null)".
QString replyText(const std::optional<QByteArray> &reply) {
    return QString::fromUtf8(reply.value_or("(null)"));
}

} // namespace

bool KYViewController::registerHelperTool(const QString &label, std::optional<QString> *) {
    kyb::AdministratorRights rights = nullptr;
    const std::int32_t status = kyb::requestAdministratorRights(&rights);
    if (status != 0) {
        WriteLog(QStringLiteral("Failed to create AuthorizationRef. Error code: %1").arg(status));
        return false;
    }
    WriteLog(QStringLiteral("Authorization successful"));
    kyb::PlatformError error = nullptr; // NB: what comes back in it is dropped
    return kyb::installHelperTool(label, rights, &error);
}

void KYViewController::xpcConnection(const QString &command, InstallerLog withInstallerLog) {
    const kyb::HelperConnection connection = kyb::createHelperConnection(kyb::kHelperServiceName);
    if (connection == nullptr) {
        WriteLog(QStringLiteral("Failed to create XPC connection."));
        installFailed = true; // NB: and on it goes, on the null connection
    }
    kyb::setConnectionEventHandler(connection, [this](const ConnectionEvent &event) {
        if (event.kind == ConnectionEventKind::NotAnError) {
            WriteLog(description(event));
            installFailed = true;
        } else {
            installFailed = true;
            WriteLog(description(event));
        }
    });
    kyb::resumeConnection(connection);

    kyb::HelperMessage message{{kyb::kCommandKey, command.toUtf8()}};
    if (withInstallerLog == InstallerLog::Yes) {
        const QString progressFile = kyb::systemPath(QString::fromLatin1(installProgressLog));
        QFile::remove(progressFile);
        message.emplace_back(kyb::kInstallerLogPathKey, progressFile.toUtf8());
    }
    kyb::sendMessageWithReply(connection, message, [this](const std::optional<QByteArray> &reply) {
        WriteLog(QStringLiteral("Received response: %1.").arg(replyText(reply)));
    });
    kyb::releaseConnection(connection);
}

void KYViewController::runScriptWithAuthorization(const QString &script) {
    if (!isSilentInstall) {
        xpcConnection(kyb::scriptCommand(script), InstallerLog::No);
        return;
    }
    if (FILE *stream = popen(kyb::quotedScript(script).toUtf8().constData(), "r")) {
        pclose(stream);
    }
}
