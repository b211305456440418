#include "install_log.h"

#include "folder_walk.h"
#include "install_error.h"
#include "posix/file_io.h"
#include "texts.h"

#include <array>

namespace kyb::macroot {
namespace {

std::string hostName() {
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size() - 1) == 0 && name[0] != '\0' ? name.data() : "localhost";
}

} // namespace

std::string installLogLine(std::time_t when, std::string_view host, int process, std::string_view message) {
    std::tm local = {};
    std::array<char, 40> date{};
    localtime_r(&when, &local);
    const std::size_t length = std::strftime(date.data(), date.size(), "%Y-%m-%d %H:%M:%S%z ", &local);
    return std::string(date.data(), length)
        .append(host)
        .append(" installer[" + std::to_string(process) + "]: ")
        .append(printable(message))
        .append("\n");
}

InstallLog::InstallLog(int root) : host_(hostName()) {
    const UniqueFd folder = makeFolderBelow(root, "var/log");
    file_ = openRegularFile("install.log", O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW, 0644, folder.get());
    if (!file_) {
        throwLastError("/var/log/install.log");
    }
}

void InstallLog::write(std::string_view message) const {
    const std::string line = installLogLine(std::time(nullptr), host_, getpid(), message);
    [[maybe_unused]] const ssize_t written = ::write(file_.get(), line.data(), line.size());
}

} // namespace kyb::macroot
