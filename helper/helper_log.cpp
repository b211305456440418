#include "helper_log.h"

#include <array>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace kyb::helper {
namespace {

constexpr off_t kMaxLogBytes = off_t{1} << 20;

std::string utcNow() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    std::array<char, sizeof "2000-01-01T00:00:00Z"> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text.data();
}

bool isControl(char character) {
    return static_cast<unsigned char>(character) < ' ' || character == '\x7f';
}

/// Whether standard error is a file that grows at its end, whoever writes to it. Cut short, another would get a hole.
bool isAppendedFile(const struct stat &file) {
    return S_ISREG(file.st_mode) && (fcntl(STDERR_FILENO, F_GETFL) & O_APPEND) != 0;
}

/// NB: nothing of the log is kept. macOS opens it for writing only, so that there is no way to read its last lines but
/// by its path.
void makeRoomFor(const std::string &line) {
    struct stat file {};
    if (fstat(STDERR_FILENO, &file) == 0 && isAppendedFile(file) &&
        file.st_size + static_cast<off_t>(line.size()) > kMaxLogBytes) {
        [[maybe_unused]] const int ignored = ftruncate(STDERR_FILENO, 0);
    }
}

} // namespace

void logLine(std::string_view text) {
    std::string line = utcNow() + " [" + std::to_string(getpid()) + "] ";
    for (const char character : text) {
        line.push_back(isControl(character) ? '?' : character);
    }
    line.push_back('\n');
    makeRoomFor(line);
    [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, line.data(), line.size());
}

} // namespace kyb::helper
