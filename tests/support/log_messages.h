#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace kyb::test {

/// The lines of a helper's log without their times and the numbers of processes.
inline std::vector<std::string> messagesOf(const std::string &log) {
    std::vector<std::string> messages;
    std::istringstream stream(log);
    for (std::string line; std::getline(stream, line);) {
        messages.push_back(line.substr(line.find("] ") + 2));
    }
    return messages;
}

} // namespace kyb::test
