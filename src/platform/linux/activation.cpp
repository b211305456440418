#include "platform/activation.h"

namespace kyb {

void becomeAccessory() {}

} // namespace kyb
