// Prints what ports say that read their settings once per process.

#include "channel/message_keys.h"
#include "platform/helper_connection.h"
#include "platform/locale_info.h"
#include "platform/privileges.h"
#include "platform/system_root.h"

#include <QCoreApplication>
#include <cstdio>

namespace {

void print(const QString &line) {
    std::puts(line.toUtf8().constData());
}

void printRoot() {
    print(kyb::systemRootProblem().value_or(QStringLiteral("fine")));
    print(kyb::systemPath(QStringLiteral("/")));
    print(kyb::systemPath(QStringLiteral("/var/tmp/kyb")));
}

void printLocale() {
    print(kyb::localeIdentifier());
    print(kyb::localeDisplayName(QStringLiteral("en_US")));
    print(kyb::shortDateAndTime(std::chrono::system_clock::time_point(std::chrono::seconds(1'700'000'000))));
    print(kyb::twoDecimals(1.073741824));
    print(kyb::preferredLanguages().join(QLatin1Char(' ')));
}

void printRights() {
    kyb::AdministratorRights rights = nullptr;
    print(QString::number(kyb::requestAdministratorRights(&rights)));
    print(rights != nullptr ? QStringLiteral("rights") : QStringLiteral("none"));
}

/// Sends a command to the helper and prints the reply.
void printReply(QCoreApplication &application, const char *command) {
    kyb::HelperConnection connection = kyb::createHelperConnection(kyb::kHelperServiceName);
    kyb::resumeConnection(connection);
    kyb::sendMessageWithReply(connection, {{kyb::kCommandKey, command}}, [&](const std::optional<QByteArray> &reply) {
        print(QString::fromUtf8(reply.value_or("(none)")));
        application.quit();
    });
    kyb::releaseConnection(connection);
    application.exec();
}

} // namespace

int main(int argc, char *argv[]) {
    QCoreApplication application(argc, argv);
    const QByteArray question = argc > 1 ? argv[1] : "";
    if (question == "root") {
        printRoot();
    } else if (question == "locale") {
        printLocale();
    } else if (question == "rights") {
        printRights();
    } else if (question == "send" && argc > 2) {
        printReply(application, argv[2]);
    }
    return 0;
}
