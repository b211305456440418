#include "FakeMachine.h"

#include "base/KYGlobalConstants.h"
#include "platform/activation.h"
#include "platform/bundle.h"
#include "platform/child_task.h"
#include "platform/clock.h"
#include "platform/current_user.h"
#include "platform/drag.h"
#include "platform/locale_info.h"
#include "platform/power.h"
#include "platform/privileges.h"
#include "platform/property_list.h"
#include "platform/system_log.h"
#include "platform/system_root.h"
#include "platform/volume.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cstring>

namespace {

struct FlagRow {
    const char *name;
    const kyb::Flag &flag;
};

// clang-format off
const FlagRow kFlags[] = {
    {"isPrivateComputerAccepted",    isPrivateComputerAccepted},
    {"installationInProgress",       installationInProgress},
    {"uninstallationInProgress",     uninstallationInProgress},
    {"isTermsAndConditionsAccepted", isTermsAndConditionsAccepted},
    {"isInitializationComplete",     isInitializationComplete},
    {"isSilentInstall",              isSilentInstall},
    {"isUninstallationDone",         isUninstallationDone},
    {"installFailed",                installFailed},
};
// clang-format on

std::vector<bool> flagsNow() {
    std::vector<bool> values;
    for (const FlagRow &row : kFlags) {
        values.push_back(row.flag);
    }
    return values;
}

thread_local int currentTask = 0; // 0: none, the main thread

} // namespace

FakeMachine::FakeMachine() : flags_(flagsNow()) {}

FakeMachine &FakeMachine::instance() {
    static FakeMachine machine; // no thread is left at its end: every fixture waits for them
    return machine;
}

void FakeMachine::reset() {
    userName = QStringLiteral("desk");
    dateAndTime = QStringLiteral("1/2/26, 3:04 PM");
    localeIdentifier = QStringLiteral("en_US");
    languages = QStringList{QStringLiteral("en")};
    propertyLists.clear();
    freeBytes = 500e9;
    rightsStatus = 0;
    helperCanBeInstalled = true;
    connectionCanBeMade = true;
    helper = nullptr;
    onSleep = nullptr;
    onSystemLog = nullptr;
    alsoHappened = nullptr;
    systemLog_.clear();
    journal_.clear();
    requests_.clear();
    sleeps_.clear();
    story_.clear();
    flags_ = flagsNow();
    lastTask_ = 0;
    root_ = std::make_unique<QTemporaryDir>();
    QDir().mkpath(path(QStringLiteral("/var/tmp")));
    QDir().mkpath(bundle() + QStringLiteral("/Contents/Resources/en.lproj"));
}

void FakeMachine::write(const QString &fixedPath, const QByteArray &content) const {
    const QString target = path(fixedPath);
    QDir().mkpath(QFileInfo(target).path());
    QFile file(target);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(content);
    }
}

QByteArray FakeMachine::read(const QString &fixedPath) const {
    QFile file(path(fixedPath));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray FakeMachine::Request::text(const char *key) const {
    for (const auto &[name, value] : message) {
        if (std::strcmp(name, key) == 0) {
            return value;
        }
    }
    return {};
}

QStringList FakeMachine::systemLog() const {
    const std::lock_guard lock(mutex_);
    return systemLog_;
}

QStringList FakeMachine::journal() const {
    const std::lock_guard lock(mutex_);
    return journal_;
}

std::vector<FakeMachine::Request> FakeMachine::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

std::vector<std::chrono::milliseconds> FakeMachine::sleeps() const {
    const std::lock_guard lock(mutex_);
    return sleeps_;
}

void FakeMachine::note(const QString &what) {
    tell(what);
    const std::lock_guard lock(mutex_);
    journal_ << what;
}

QStringList FakeMachine::story() const {
    const std::lock_guard lock(mutex_);
    addWhatAlsoHappened();
    return story_;
}

void FakeMachine::tell(const QString &event) {
    const std::lock_guard lock(mutex_);
    addWhatAlsoHappened();
    story_ << (currentTask == 0 ? event : QStringLiteral("[%1] %2").arg(currentTask).arg(event));
}

/// With the mutex held.
void FakeMachine::addWhatAlsoHappened() const {
    if (alsoHappened) {
        story_ << alsoHappened();
    }
    const std::vector<bool> now = flagsNow();
    for (std::size_t i = 0; i < now.size(); ++i) {
        if (now[i] != flags_[i]) {
            story_ << QStringLiteral("flag %1 %2")
                          .arg(QLatin1String(kFlags[i].name), QLatin1String(now[i] ? "yes" : "no"));
        }
    }
    flags_ = now;
}

int FakeMachine::startTask() {
    const std::lock_guard lock(mutex_);
    addWhatAlsoHappened();
    story_ << QStringLiteral("[%1] starts").arg(++lastTask_);
    return lastTask_;
}

void FakeMachine::becomeTask(int number) {
    currentTask = number;
}

void FakeMachine::addSystemLog(const QString &line) {
    if (onSystemLog) {
        onSystemLog(line);
    }
    tell(QStringLiteral("log %1").arg(line));
    const std::lock_guard lock(mutex_);
    systemLog_ << line;
}

void FakeMachine::addRequest(const Request &request) {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
}

void FakeMachine::sleep(std::chrono::milliseconds duration) {
    tell(QStringLiteral("sleep %1").arg(duration.count()));
    {
        const std::lock_guard lock(mutex_);
        sleeps_.push_back(duration);
    }
    if (onSleep) {
        onSleep(duration);
    }
}

namespace kyb {

namespace {

FakeMachine &machine() {
    return FakeMachine::instance();
}

} // namespace

QString systemPath(const QString &fixedPath) {
    return machine().path(fixedPath);
}

std::optional<QString> systemRootProblem() {
    return {};
}

void systemLog(const QString &message) {
    machine().addSystemLog(message);
}

QString currentUserName() {
    return machine().userName;
}

QString shortDateAndTime(std::chrono::system_clock::time_point time) {
    const auto ago = std::chrono::system_clock::now() - time;
    return std::chrono::abs(ago) < std::chrono::minutes(1) ? machine().dateAndTime : QStringLiteral("another time");
}

QString localeIdentifier() {
    return machine().localeIdentifier;
}

QString localeDisplayName(const QString &identifier) {
    return QStringLiteral("Name of %1").arg(identifier);
}

QString twoDecimals(double value) {
    return QString::number(value, 'f', 2);
}

QStringList preferredLanguages() {
    return machine().languages;
}

std::optional<double> freeBytesOnVolume(const QString &path) {
    return path == machine().path(QStringLiteral("/")) ? machine().freeBytes : 1e9;
}

QString displayName(const QString &path) {
    return path == machine().path(QStringLiteral("/")) ? QStringLiteral("Fake HD") : path;
}

std::optional<QString> propertyListValue(const QString &path, const QString &key) {
    const auto found = machine().propertyLists.constFind(path.sliced(machine().root().size()) + u':' + key);
    return found == machine().propertyLists.cend() ? std::optional<QString>() : *found;
}

void sleepFor(std::chrono::microseconds duration) {
    machine().sleep(std::chrono::duration_cast<std::chrono::milliseconds>(duration));
}

QString bundlePath() {
    return machine().bundle();
}

bool systemCarriesDrags() {
    return false;
}

void becomeAccessory() {
    machine().note(QStringLiteral("accessory"));
}

void keepMachineAwake() {
    machine().note(QStringLiteral("keep awake"));
}

void letMachineSleep() {
    machine().note(QStringLiteral("let sleep"));
}

ChildTask::ChildTask(QString launchPath, QStringList arguments)
    : launchPath_(std::move(launchPath)), arguments_(std::move(arguments)) {}

ChildTask::~ChildTask() = default;

void ChildTask::launch() {
    processId_ = 1;
    machine().note(QStringLiteral("launch %1 [%2]").arg(launchPath_, arguments_.join(QStringLiteral("] ["))));
}

void ChildTask::terminate() {
    if (processId_.exchange(0) != 0) {
        machine().note(QStringLiteral("terminate"));
    }
}

std::int32_t requestAdministratorRights(AdministratorRights *) {
    machine().note(QStringLiteral("ask for rights"));
    return machine().rightsStatus;
}

bool installHelperTool(const QString &label, AdministratorRights, PlatformError *) {
    machine().note(QStringLiteral("install helper %1").arg(label));
    if (machine().helperCanBeInstalled) {
        machine().write(QStringLiteral("/Library/PrivilegedHelperTools/") + label, "helper");
    }
    return machine().helperCanBeInstalled;
}

struct OpaqueHelperConnection {
    ConnectionEventHandler onEvent;
};

HelperConnection createHelperConnection(const char *serviceName) {
    machine().note(QStringLiteral("connect %1").arg(QString::fromLatin1(serviceName)));
    return machine().connectionCanBeMade ? new OpaqueHelperConnection : nullptr;
}

void setConnectionEventHandler(HelperConnection connection, ConnectionEventHandler handler) {
    machine().note(QStringLiteral("handler"));
    if (connection != nullptr) {
        connection->onEvent = std::move(handler);
    }
}

void resumeConnection(HelperConnection) {
    machine().note(QStringLiteral("resume"));
}

void sendMessageWithReply(HelperConnection connection, const HelperMessage &message, ReplyHandler replyHandler) {
    machine().note(QStringLiteral("send"));
    const FakeMachine::Request request{message};
    machine().addRequest(request);
    if (connection != nullptr && machine().helper) {
        machine().helper(request, connection->onEvent, replyHandler);
    }
}

void releaseConnection(HelperConnection connection) {
    machine().note(QStringLiteral("release"));
    delete connection;
}

} // namespace kyb
