#include "platform/drag.h"

namespace kyb {

bool systemCarriesDrags() {
    return false;
}

} // namespace kyb
