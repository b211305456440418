#include "Probe.h"

#include <cstdio>
#include <sstream>

namespace kyb::test {

std::vector<std::string> askProbe(const std::string &environment, const std::string &question) {
    const std::string command = "env " + environment + " " KYB_PORT_PROBE_PROGRAM " " + question;
    std::stringstream text;
    std::FILE *output = popen(command.c_str(), "r");
    for (int character = std::fgetc(output); character != EOF; character = std::fgetc(output)) {
        text.put(static_cast<char>(character));
    }
    pclose(output);
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace kyb::test
