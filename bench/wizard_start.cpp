// The wizard, started as the program starts it. Says "painted" when the drag screen was painted for the first time, and
// its resident memory when it has come to rest.

#include "FirstPaint.h"

#include "base/threads.h"
#include "shell/start_wizard.h"

#include <QApplication>

int main(int argc, char **argv) {
    QString problem;
    kyb::UserInterface &interface = *kyb::loadWizardModule(&problem)(argc, argv);
    const kyb::WizardProgram program = kyb::startWizard(interface, &problem).value();
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->objectName() == QStringLiteral("parentWindow")) {
            new FirstPaint(*window);
        }
    }
    program.controller.awakeFromNib();
    kyb::endProcess(interface.run());
}
