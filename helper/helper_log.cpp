#include "helper_log.h"

#include <array>
#include <ctime>
#include <string>
#include <unistd.h>

namespace kyb::helper {
namespace {

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

} // namespace

void logLine(std::string_view text) {
    std::string line = utcNow() + " [" + std::to_string(getpid()) + "] ";
    for (const char character : text) {
        line.push_back(isControl(character) ? '?' : character);
    }
    line.push_back('\n');
    [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, line.data(), line.size());
}

} // namespace kyb::helper
