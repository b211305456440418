#include "command_locale.h"

const char kyb::helper::kCommandLocale[] = "en_US.UTF-8"; // NB: macOS 11 has no C.UTF-8
