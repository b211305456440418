#include "command_locale.h"

const char kyb::helper::kCommandLocale[] = "C.UTF-8";
