#include "shell/start_wizard.h"

#include "text/resources.h"

namespace kyb {

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
