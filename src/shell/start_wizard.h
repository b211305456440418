#pragma once

#include "controller/KYAppDelegate.h"
#include "controller/KYViewController.h"
#include "controller/UserInterface.h"

#include <optional>

namespace kyb {

/// Loads the module with the screens out of the bundle ("Contents/PlugIns/"), so that a run without screens loads no
/// toolkit.
///
/// \param problem set to a sentence when the module cannot be loaded.
/// \return what makes the interface, or null. Main thread, before there is an application object.
MakeUserInterface loadWizardModule(QString *problem);

/// The program with screens. Never destroyed: background threads may still use it when the process ends.
struct WizardProgram {
    KYViewController &controller;
    KYAppDelegate &delegate;
};

/// Makes the program behind the screens of \p interface: loads their descriptions out of the bundle and connects the
/// outlets. The start goes on with the controller's `awakeFromNib` and ends in the interface's `run`. Main thread,
/// once.
///
/// \param problem set to what is missing or broken in the descriptions.
/// \return nothing when there is such a problem.
std::optional<WizardProgram> startWizard(UserInterface &interface, QString *problem);

} // namespace kyb
