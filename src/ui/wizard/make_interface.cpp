#include "ui/wizard/Wizard.h"

/// What the executable looks for in the module, see `kyb::MakeInterface`.
extern "C" Q_DECL_EXPORT kyb::Interface *kyb_make_interface(int &argc, char **argv) {
    return new kyb::Wizard(argc, argv);
}
