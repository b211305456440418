#include "ui/wizard/Wizard.h"

/// What the executable looks for in the module, see `kyb::MakeUserInterface`.
extern "C" Q_DECL_EXPORT kyb::UserInterface *kyb_make_interface(int &argc, char **argv) {
    return new kyb::Wizard(argc, argv);
}
