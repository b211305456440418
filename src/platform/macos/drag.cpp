#include "platform/drag.h"

namespace kyb {

bool systemCarriesDrags() {
    return true;
}

} // namespace kyb
