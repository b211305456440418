#include "shell/start_wizard.h"

#include "platform/bundle.h"
#include "text/resources.h"

#include <QLibrary>

namespace kyb {

MakeUserInterface loadWizardModule(QString *problem) {
    QLibrary module(bundlePath() + QStringLiteral("/Contents/PlugIns/libKYWizard.so"));
    const auto makeInterface = reinterpret_cast<MakeUserInterface>(module.resolve("kyb_make_interface"));
    if (makeInterface == nullptr) {
        *problem = QStringLiteral("The installer's screens cannot be loaded: %1").arg(module.errorString());
    }
    return makeInterface;
}

std::optional<WizardProgram> startWizard(UserInterface &interface, QString *problem) {
    auto *controller = new KYViewController;
    auto *delegate = new KYAppDelegate(*controller);
    *problem = interface.load(resourcesFolder(), *delegate);
    if (!problem->isEmpty()) {
        return {};
    }
    controller->connectOutlets(interface);
    return WizardProgram{*controller, *delegate};
}

} // namespace kyb
