// The helper with an idle limit of 0 to 5 milliseconds, another for each process, so that it ends while clients come.

#include "linux/SocketListener.h"

#include <filesystem>
#include <unistd.h>

int main() {
    const auto program = std::filesystem::read_symlink("/proc/self/exe");
    const std::string systemRoot = program.parent_path().parent_path().parent_path();
    kyb::helper::SocketListener listener(
        kyb::UniqueFd(3), {.systemRoot = systemRoot, .isTrusted = kyb::helper::trustRootAndOwner(systemRoot)});
    return kyb::helper::serve(listener, {.idle = std::chrono::milliseconds(getpid() % 6), .commands = {}});
}
