#include "ControllerTest.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace {

constexpr int kPatienceMilliseconds = 30'000;

} // namespace

ControllerTest::ControllerTest() {
    machine.reset();
    resetFlags();
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

void ControllerTest::makeSelectedApp() {
    controller->selectedApp = std::make_unique<KYRavexApp>();
    controller->selectedApp->setPkgName(QStringLiteral("/OSX/Brelund Quorlix Driver.pkg"));
    controller->selectedApp->isSelectedForInstall = true;
}

void ControllerTest::settle() {
    waitUntil([] { return kyb::backgroundTaskCount() == 0; });
    QCoreApplication::processEvents();
}

void ControllerTest::waitUntil(const std::function<bool()> &condition) {
    QElapsedTimer patience;
    patience.start();
    while (!condition()) {
        ASSERT_LT(patience.elapsed(), kPatienceMilliseconds) << "waited in vain";
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
}

std::optional<int> ControllerTest::runApplication(const std::function<void()> &start) {
    constexpr int kNobodyAsked = -12345;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [] {
        if (kyb::backgroundTaskCount() == 0) {
            QTimer::singleShot(0, [] { QCoreApplication::exit(kNobodyAsked); }); // after what is queued
        }
    });
    QTimer::singleShot(0, [&] {
        start();
        watch.start(1);
    });
    const int status = QCoreApplication::exec();
    return status == kNobodyAsked ? std::optional<int>() : status;
}

QStringList ControllerTest::wrapperLogLines() const {
    const QString text = QString::fromUtf8(machine.read(QStringLiteral("/var/tmp/kyb/BrelundQuorlix.log")));
    return text.split(u'\n', Qt::SkipEmptyParts);
}
