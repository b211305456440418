// The wizard, started as the program starts it. Says "painted" when the drag screen was painted for the first time, and
// its resident memory when it has come to rest.

#include "FirstPaint.h"

#include "base/threads.h"
#include "controller/KYAppDelegate.h"
#include "controller/KYViewController.h"
#include "shell/wizard_module.h"
#include "text/resources.h"

#include <QApplication>

int main(int argc, char **argv) {
    QString problem;
    kyb::UserInterface &interface = *kyb::loadWizardModule(&problem)(argc, argv);
    KYViewController controller;
    KYAppDelegate delegate(controller);
    interface.load(kyb::resourcesFolder(), delegate);
    controller.connectOutlets(interface);
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->objectName() == QStringLiteral("parentWindow")) {
            new FirstPaint(*window);
        }
    }
    controller.awakeFromNib();
    kyb::endProcess(interface.run());
}
