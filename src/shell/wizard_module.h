#pragma once

#include "controller/UserInterface.h"

#include <QString>

namespace kyb {

/// Loads the module with the screens out of the bundle ("Contents/PlugIns/"), so that a run without screens loads no
/// toolkit.
///
/// \param problem set to a sentence when the module cannot be loaded.
/// \return what makes the interface, or null. Main thread, before there is an application object.
MakeUserInterface loadWizardModule(QString *problem);

} // namespace kyb
