#include "Walk.h"

#include "base/KYGlobalConstants.h"
#include "shell/start_wizard.h"
#include "text/localized_text.h"
#include "ui/wizard/Wizard.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <atomic>
#include <thread>

QString textOf(const char *key) {
    return kyb::localizedText(QString::fromLatin1(key));
}

void waitForTheCatalog(User &user) {
    user.waitFor([] { return bool(isInitializationComplete); }, "the catalog");
}

void acceptTerms(User &user) {
    waitForTheCatalog(user);
    user.click(kBox);
    user.waitFor([] { return bool(isTermsAndConditionsAccepted); }, "the terms to be accepted");
}

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

Walk::Walk() : root("MacintoshHD", qgetenv("KYB_SCRATCH").toStdString()) {
    root.makeMacRoot();
    for (const std::string &variable : root.environment()) {
        const std::size_t end = variable.find('=');
        qputenv(variable.substr(0, end).c_str(), QByteArray::fromStdString(variable.substr(end + 1)));
    }
    qputenv("PATH", root.pathWithSudo().c_str());
    kyb::test::makePackage(package(), {"--version", "4.2.0"});
}

int Walk::walk(const std::function<void(User &)> &steps) {
    static int argc = 1;
    static char name[] = "walk";
    static char *argv[] = {name, nullptr};
    // NB: never destroyed, as in the program itself: background threads may still run when the test has ended.
    auto *wizard = new kyb::Wizard(argc, argv);
    prepareApplication();
    QString problem;
    const std::optional<kyb::WizardProgram> program = kyb::startWizard(*wizard, &problem);
    if (!program) {
        ADD_FAILURE() << qPrintable(problem);
        return -1;
    }
    controller = &program->controller;
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

std::string Walk::package() const {
    return root.beside("Installer/OSX/Brelund Quorlix Driver.pkg");
}

void Walk::installEarlierVersion() const {
    const std::string earlier = root.beside("earlier.pkg");
    kyb::test::makePackage(earlier, {"--version", "3.9.1"});
    ASSERT_EQ(kyb::test::runProgram({root.at("/usr/sbin/installer"), "-pkg", earlier, "-target", "/"}).status, 0);
}
