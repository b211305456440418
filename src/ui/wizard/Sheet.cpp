#include "ui/wizard/Sheet.h"

#include "ui/wizard/WizardWindow.h"

namespace kyb {

void Sheet::reject() {
    pressEscapeButton(*this);
}

} // namespace kyb
