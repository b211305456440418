#pragma once

#include "controller/outlet.h"

#include <QString>

class KYAppDelegate;

namespace kyb {

/// What is said, and the process's exit status, when the screens cannot be shown.
inline constexpr char kNoScreens[] = "The installer's screens cannot be shown here. To install without them, type: "
                                     "BrelundQuorlixInstaller -s USER [PUBLIC]";
inline constexpr int kStatusNoScreens = 3;

/// The screens as the program sees them: the application object of a toolkit, with the controls that the interface
/// descriptions lay out. It owns its controls, and lives as long as the process. Main thread.
class UserInterface {
public:
    virtual ~UserInterface() = default;

    /// Loads the interface descriptions out of the bundle's resources.
    /// \return what is missing or broken, or an empty string.
    virtual QString load(const QString &resourcesFolder, KYAppDelegate &delegate) = 0;

    /// The control of that object name, or null. After `load`.
    virtual Control *control(const QString &objectName) = 0;

    /// Runs the event loop until the application is asked to terminate. \return the exit status.
    virtual int run() = 0;
};

/// What the wizard's module exports under the name "kyb_make_interface".
/// Makes the toolkit's application object, so: once, before anything else of the toolkit.
using MakeUserInterface = UserInterface *(*)(int &argc, char **argv);

} // namespace kyb
