#include "shell/command_line.h"

#include "base/KYGlobalConstants.h"
#include "platform/current_user.h"

#include <strings.h>

namespace kyb {
namespace {

bool equalsIgnoringCase(const char *argument, const char *word) {
    return strcasecmp(argument, word) == 0;
}

} // namespace

void readCommandLine(int argc, const char *const *argv) {
    curUserName = currentUserName();
    if (argc < 3 || !equalsIgnoringCase(argv[1], "-s")) {
        return;
    }
    curUserName = QString::fromUtf8(argv[2]);
    isSilentInstall = true;
    if (argc > 3 && equalsIgnoringCase(argv[3], "PUBLIC")) {
        isPrivateComputerAccepted = false;
    }
}

} // namespace kyb
