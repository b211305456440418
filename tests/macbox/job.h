#pragma once

#include "signature.h"

namespace macbox {

/// The place of a job's property list.
std::string jobList(const std::string &label);

/// Writes the job that lies in \p program below \p root, with the program's place, and has launchd load it.
bool installJob(const std::string &root, const std::string &label, const std::string &program);

} // namespace macbox
