#include "ControllerTest.h"

#include "support/turn_until.h"

#include <QFileInfo>
#include <sys/stat.h>

namespace {

const QString kAsked = QStringLiteral("/asked");

} // namespace

ControllerTest::ControllerTest() {
    static const QByteArray hostPath = qgetenv("PATH");
    resetFlags();
    machine.reset();
    putProgram(QStringLiteral("/bin/sudo"));
    qputenv("PATH", QFile::encodeName(machine.path(QStringLiteral("/bin"))) + ':' + hostPath);
    application_ = std::make_unique<QCoreApplication>(argc_, argv_);
    controller = std::make_unique<KYViewController>();
}

ControllerTest::~ControllerTest() {
    settle();
    controller.reset();
}

void ControllerTest::resetFlags() {
    curUserName.clear();
    isPrivateComputerAccepted = true;
    installationInProgress = false;
    uninstallationInProgress = false;
    isTermsAndConditionsAccepted = false;
    isInitializationComplete = false;
    isSilentInstall = false;
    isUninstallationDone = false;
    installFailed = false;
    sourceIconImage = {};
    backgroundImage = {};
}

void ControllerTest::putPackage() {
    machine.write(QStringLiteral("/Installer Folder/OSX/Brelund Quorlix Driver.pkg"), "package");
    machine.write(QStringLiteral("/Installer Folder/OSX/macver.list"), "Brelund Quorlix Driver=1.2.3\n");
}

void ControllerTest::putTexts(const QByteArray &table) {
    machine.write(QStringLiteral("/Installer Folder/Brelund Quorlix Installer.app/Contents/Resources/en.lproj/"
                                 "Localizable.strings"),
                  table);
}

void ControllerTest::putHelper() {
    machine.write(QStringLiteral("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool"), "helper");
}

void ControllerTest::putProgram(const QString &fixedPath) {
    const QString program = machine.path(fixedPath);
    const QString script = QStringLiteral("#!/bin/sh\n{ printf '%1'; printf ' [%s]' \"$@\"; echo; } >>'%2'\n");
    machine.write(fixedPath, script.arg(QFileInfo(program).fileName(), machine.path(kAsked)).toUtf8());
    chmod(QFile::encodeName(program).constData(), 0755);
}

QStringList ControllerTest::asked() const {
    return QString::fromUtf8(machine.read(kAsked)).split(u'\n', Qt::SkipEmptyParts);
}

void ControllerTest::makeSelectedApp() {
    controller->selectedApp = std::make_unique<KYRavexApp>();
    controller->selectedApp->setPkgName(QStringLiteral("/OSX/Brelund Quorlix Driver.pkg"));
    controller->selectedApp->isSelectedForInstall = true;
}

void ControllerTest::settle() {
    waitUntil(kyb::isIdle);
}

void ControllerTest::waitUntil(const std::function<bool()> &condition) {
    ASSERT_TRUE(kyb::test::turnUntil(condition)) << "waited in vain";
}

std::optional<int> ControllerTest::runApplication(const std::function<void()> &start) {
    constexpr int kNobodyAsked = -12345;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [] {
        if (kyb::isIdle()) {
            // NB: not at once; somebody may have asked during this turn.
            QTimer::singleShot(0, [] { QCoreApplication::exit(kNobodyAsked); });
        }
    });
    QTimer::singleShot(0, [&] {
        start();
        watch.start(1);
    });
    const int status = QCoreApplication::exec();
    watch.stop();
    settle();
    return status == kNobodyAsked ? std::optional<int>() : status;
}

QStringList ControllerTest::storyOf(int task) const {
    const QString number = QStringLiteral("[%1] ").arg(task);
    QStringList events;
    for (const QString &event : machine.story()) {
        const bool isOfATask = event.startsWith(u'[') && !event.endsWith(u" starts");
        if (task == 0 ? !isOfATask : isOfATask && event.startsWith(number)) {
            events << event;
        }
    }
    return events;
}

QStringList ControllerTest::wrapperLogLines() const {
    const QString text = QString::fromUtf8(machine.read(QStringLiteral("/var/tmp/kyb/BrelundQuorlix.log")));
    return text.split(u'\n', Qt::SkipEmptyParts);
}
