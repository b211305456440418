#pragma once

#include "channel/message_keys.h"
#include "platform/helper_connection.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

/// Answers the ports in the tests of the rooms: a machine whose facts the test sets and whose every request it can
/// read. One for the process; `reset` gives a fresh one with an empty root folder. Requests may come from any thread.
class FakeMachine {
public:
    struct Request {
        kyb::HelperMessage message;
        QByteArray text(const char *key) const; ///< null when the message has no such key
    };

    FakeMachine();
    static FakeMachine &instance();

    void reset();

    QString root() const { return root_->path(); }
    QString path(const QString &fixedPath) const { return root() + fixedPath; }
    QString bundle() const { return root() + QStringLiteral("/Installer Folder/Brelund Quorlix Installer.app"); }

    /// Writes a file below the root, with the folders that it needs.
    void write(const QString &fixedPath, const QByteArray &content) const;
    QByteArray read(const QString &fixedPath) const;

    // What the machine says. Set before the code under test runs.
    QString userName = QStringLiteral("desk");
    QString dateAndTime = QStringLiteral("1/2/26, 3:04 PM");
    QString localeIdentifier = QStringLiteral("en_US");
    QStringList languages{QStringLiteral("en")};
    QHash<QString, QString> propertyLists; ///< "path:key" to value
    std::optional<double> freeBytes = 500e9;
    std::int32_t rightsStatus = 0;
    bool helperCanBeInstalled = true;
    bool connectionCanBeMade = true;

    /// What the helper does with a request; runs on the sender's thread. By default it does nothing at all.
    std::function<void(const Request &, const kyb::ConnectionEventHandler &, const kyb::ReplyHandler &)> helper;

    /// Runs instead of each sleep. By default nothing does: time stands still.
    std::function<void(std::chrono::milliseconds)> onSleep;

    /// Runs before each line for the system log, on the thread that writes it.
    std::function<void(const QString &)> onSystemLog;

    /// Tells what else has happened since it was last asked. Asked before each event of the story.
    std::function<QStringList()> alsoHappened;

    // What the machine was asked, in order.
    QStringList systemLog() const;
    std::vector<Request> requests() const;
    QStringList journal() const; ///< everything but sleeps and messages for the system log
    std::vector<std::chrono::milliseconds> sleeps() const;
    void note(const QString &what);

    /// All that happened, in order: what is in the journal, "log ..." for the system log, "sleep" with milliseconds,
    /// the orders to the controls, "[1] starts" for each background task, and "flag installFailed yes" for each change
    /// of a process-wide flag, before the event that followed it. What a background task does bears its number: "[1]
    /// send".
    QStringList story() const;
    void tell(const QString &event);

    // For the ports.
    void addSystemLog(const QString &line);
    void addRequest(const Request &request);
    void sleep(std::chrono::milliseconds duration);
    int startTask();                    ///< \return the number of a background task that is about to start
    static void becomeTask(int number); ///< what the calling thread does from now on is that task's

private:
    void addWhatAlsoHappened() const;

    mutable std::mutex mutex_;
    std::unique_ptr<QTemporaryDir> root_;
    QStringList systemLog_;
    QStringList journal_;
    std::vector<Request> requests_;
    std::vector<std::chrono::milliseconds> sleeps_;
    mutable QStringList story_;
    mutable std::vector<bool> flags_; ///< as the story left them
    int lastTask_ = 0;
};
