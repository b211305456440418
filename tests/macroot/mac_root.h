#pragma once

#include "support/RootFolder.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kyb::macroot {

using test::builtProgram;
using test::contentOf;
using test::Program;
using test::Ran;
using test::runProgram;
using test::TempFolder;
using test::tool;
using test::writeText;

/// The test's own time limit bounds the wait.
void waitForEndOf(pid_t process);

/// A command that makes so many files in the working folder that their removal takes longer than a writer beside it
/// rests.
inline constexpr const char *kManyFiles = "touch $(seq -f many%g 2000)\n";

unsigned modeOf(const std::filesystem::path &path);

/// Every path below a folder, with its kind, mode and the hash of its content.
using Snapshot = std::map<std::string, std::string>;
Snapshot snapshotOf(const std::filesystem::path &folder);

/// A root folder as tools/make-macroot makes it, with a sample package or others beside it.
class MacRoot : private test::RootFolder {
public:
    MacRoot() { makeMacRoot(); }

    std::filesystem::path operator/(std::string_view name) const { return path() / std::filesystem::path(name); }
    using test::RootFolder::beside;

    /// Makes a package with tools/make-package; gives its path.
    std::string samplePackage(const std::vector<std::string> &options) const;
    std::vector<std::string> installCommand(const std::string &package) const;
    Ran install(const std::string &package) const;

    bool hasStage() const;
    std::string log() const { return read("/var/log/install.log"); }
    /// All but the log and the lock, which every run touches.
    Snapshot snapshot() const;
};

} // namespace kyb::macroot
