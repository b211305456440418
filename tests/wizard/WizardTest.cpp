#include "WizardTest.h"

#include "FakeMachine.h"
#include "support/turn_until.h"

#include <QPalette>
#include <QTest>

QString interfaceFolder() {
    return QStringLiteral(KYB_INTERFACE_FOLDER);
}

WizardTest::WizardTest() {
    FakeMachine::instance().reset();
    wizard = std::make_unique<kyb::Wizard>(argc, argv);
    problem = wizard->load(interfaceFolder(), delegate);
}

WizardTest::~WizardTest() {
    installationInProgress = false;
    uninstallationInProgress = false;
}

void WizardTest::goDark() {
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0x2b, 0x2e, 0x33));
    palette.setColor(QPalette::WindowText, Qt::white);
    palette.setColor(QPalette::Base, QColor(0x1e, 0x21, 0x25));
    palette.setColor(QPalette::Text, Qt::white);
    QApplication::setPalette(palette);
    QCoreApplication::processEvents();
}

void WizardTest::open() {
    control<kyb::Window>("parentWindow").makeKeyAndOrderFront();
    ASSERT_TRUE(QTest::qWaitForWindowActive(wizard->window()));
}

void WizardTest::waitUntil(const std::function<bool()> &condition) {
    ASSERT_TRUE(kyb::test::turnUntil(condition));
}

int &WizardTest::actionsOf(const char *name) {
    const auto [entry, isNew] = actions.emplace(name, 0);
    if (isNew) {
        control<kyb::HasAction>(name).onAction([&count = entry->second](kyb::HasText &) { ++count; });
    }
    return entry->second;
}

void WizardTest::showScreen(const char *name) {
    control("installationView").setHidden(true);
    control("installationBox").addSubview(control(name));
}
