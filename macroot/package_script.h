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

/// So many lines of a script's output are given, and one more that says that there were others.
inline constexpr int kMaxScriptLines = 10'000;

using ScriptOutput = std::function<void(std::string_view line)>;

/// Runs the script, gives the lines of its output (both streams), and waits for its end. What the script leaves running
/// behind is not waited for. Throws InstallError when it cannot be started, fails, or \p signals ends the
/// installation, which ends the script's process group first.
void runPackageScript(const PackageScript &script, const SignalWatch &signals, const ScriptOutput &output);

} // namespace kyb::macroot
