#pragma once

#include "signal_watch.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kyb::macroot {

/// One run of a package's script.
struct PackageScript {
    std::string name;                     ///< "preinstall" or "postinstall"
    std::string path;                     ///< absolute
    std::vector<std::string> arguments;   ///< what follows the path: package, target, target volume, system root
    std::vector<std::string> environment; ///< "NAME=value"; all that the script gets
    std::string workingFolder;
};

/// So much of a script's output is given, and one line more that says that there was other: a script that prints
/// without end must not fill the disk with the log.
inline constexpr int kMaxScriptLines = 10'000;
inline constexpr std::size_t kMaxScriptBytes = std::size_t{1} << 20; // a hundred for each of them

using ScriptOutput = std::function<void(std::string_view line)>;

/// Runs the script, gives the lines of its output (both streams), and waits for its end. What the script leaves running
/// behind is not waited for. Throws InstallError when it cannot be started, fails, or \p signals ends the
/// installation, which ends the script's process group first.
void runPackageScript(const PackageScript &script, const SignalWatch &signals, const ScriptOutput &output);

} // namespace kyb::macroot
