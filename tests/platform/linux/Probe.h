#pragma once

#include <string>
#include <vector>

namespace kyb::test {

/// What the port probe prints, line by line.
/// \param environment assignments as env(1) takes them; may begin with options of its.
std::vector<std::string> askProbe(const std::string &environment, const std::string &question);

} // namespace kyb::test
