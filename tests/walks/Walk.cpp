#include "Walk.h"

#include "controller/KYAppDelegate.h"
#include "controller/KYViewController.h"
#include "text/resources.h"
#include "ui/wizard/Wizard.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>
#include <QTimer>
#include <atomic>
#include <sys/stat.h>
#include <thread>

namespace {

/// Measures how long the main thread's event loop does not turn while the engine works.
class EventLoopWatchdog : public QTimer {
public:
    EventLoopWatchdog() {
        sinceLastTurn_.start();
        callOnTimeout([this] { turn(); });
        start(1);
    }

    qint64 worstGapMilliseconds() const { return worst_; }

private:
    void turn() {
        if (installationInProgress || uninstallationInProgress) {
            worst_ = std::max(worst_, sinceLastTurn_.elapsed());
        }
        sinceLastTurn_.restart();
    }

    QElapsedTimer sinceLastTurn_;
    qint64 worst_ = 0;
};

} // namespace

int Walk::walk(const std::function<void(User &)> &steps) {
    static int argc = 1;
    static char name[] = "walk";
    static char *argv[] = {name, nullptr};
    // NB: never destroyed, as in the program itself: background threads may still run when the test has ended.
    auto *wizard = new kyb::Wizard(argc, argv);
    prepareApplication();
    controller = new KYViewController;
    delegate = new KYAppDelegate(*controller);
    const QString problem = wizard->load(kyb::resourcesFolder(), *delegate);
    EXPECT_EQ(problem, QString());
    controller->connectOutlets(*wizard);
    controller->awakeFromNib();

    const EventLoopWatchdog watchdog;
    std::atomic<bool> userIsDone{false};
    std::thread user([&] {
        User person;
        person.waitFor([] { return QApplication::activeWindow() != nullptr; }, "the window to be active");
        steps(person);
        if (HasFailure()) {
            person.onMain([] { QCoreApplication::exit(-1); });
        }
        userIsDone = true;
    });
    const int status = wizard->run();
    while (!userIsDone) { // who still looks at something gets an answer, though the program has ended
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    user.join();
    controller->stopMonitoringLogFile();
    std::printf("worst gap of the event loop while the engine worked: %lld ms\n", watchdog.worstGapMilliseconds());
    RecordProperty("worst_gap_ms", static_cast<int>(watchdog.worstGapMilliseconds()));
    return status;
}

QString Walk::scratch() const {
    return qEnvironmentVariable("KYB_SCRATCH");
}

QString Walk::path(const QString &fixedPath) const {
    return scratch() + QStringLiteral("/MacintoshHD") + fixedPath;
}

QByteArray Walk::read(const QString &fixedPath) const {
    QFile file(path(fixedPath));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void Walk::write(const QString &fixedPath, const QByteArray &content) const {
    QDir().mkpath(QFileInfo(path(fixedPath)).path());
    QFile file(path(fixedPath));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}

bool Walk::exists(const QString &fixedPath) const {
    return QFileInfo::exists(path(fixedPath));
}

QStringList Walk::logEntries() const {
    QStringList entries =
        QString::fromUtf8(read(QStringLiteral("/var/tmp/kyb/BrelundQuorlix.log"))).split(u'\n', Qt::SkipEmptyParts);
    for (QString &entry : entries) {
        entry.remove(QRegularExpression(QStringLiteral("^.{6,40}? : ")));
    }
    return entries;
}

void Walk::putPackage(const QStringList &options) const {
    const QString package = scratch() + QStringLiteral("/Installer/OSX/Brelund Quorlix Driver.pkg");
    QFile::remove(package);
    QStringList arguments{QStringLiteral("--programs"), qEnvironmentVariable("KYB_PROGRAMS"), package};
    ASSERT_EQ(
        QProcess::execute(qEnvironmentVariable("KYB_TOOLS") + QStringLiteral("/make-package"), arguments + options), 0);
}

void Walk::putProgram(const QString &fixedPath, const QByteArray &script) const {
    QFile::remove(path(fixedPath));
    write(fixedPath, script);
    ASSERT_EQ(chmod(QFile::encodeName(path(fixedPath)).constData(), 0755), 0);
}

void Walk::installEarlierVersion() const {
    const QString package = scratch() + QStringLiteral("/earlier.pkg");
    ASSERT_EQ(QProcess::execute(qEnvironmentVariable("KYB_TOOLS") + QStringLiteral("/make-package"),
                                {QStringLiteral("--programs"), qEnvironmentVariable("KYB_PROGRAMS"), package,
                                 QStringLiteral("--version"), QStringLiteral("3.9.1")}),
              0);
    ASSERT_EQ(QProcess::execute(path(QStringLiteral("/usr/sbin/installer")),
                                {QStringLiteral("-pkg"), package, QStringLiteral("-target"), QStringLiteral("/")}),
              0);
}
