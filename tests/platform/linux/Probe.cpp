#include "Probe.h"

#include "support/Program.h"

namespace kyb::test {

std::vector<std::string> askProbe(const std::string &environment, const std::string &question) {
    return runProgram({"/bin/sh", "-c", "env " + environment + " '" KYB_PORT_PROBE_PROGRAM "' " + question}).lines;
}

} // namespace kyb::test
