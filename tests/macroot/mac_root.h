#pragma once

#include "program.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kyb::macroot {

/// The paths of a program of the build, and of a script of tools/.
std::string builtProgram(const std::string &name);
std::string tool(const std::string &name);

/// An empty folder of its own, gone with the object.
class TempFolder {
public:
    TempFolder();
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;
    ~TempFolder();

    const std::filesystem::path &path() const { return path_; }
    std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

std::string textOf(const std::filesystem::path &file);
void writeText(const std::filesystem::path &file, std::string_view text);
unsigned modeOf(const std::filesystem::path &path);

/// Every path below a folder, with its kind, mode and the hash of its content.
using Snapshot = std::map<std::string, std::string>;
Snapshot snapshotOf(const std::filesystem::path &folder);

/// A root folder as tools/make-macroot makes it, with a sample package or others beside it.
class MacRoot {
public:
    MacRoot();

    std::filesystem::path operator/(std::string_view name) const { return folder_ / "root" / name; }
    std::filesystem::path beside(std::string_view name) const { return folder_ / name; }

    /// Makes a package with tools/make-package; gives its path.
    std::string samplePackage(const std::vector<std::string> &options) const;
    std::vector<std::string> installCommand(const std::string &package) const;
    Ran install(const std::string &package) const;

    bool hasStage() const;
    std::string log() const;
    /// All but the log and the lock, which every run touches.
    Snapshot snapshot() const;

private:
    TempFolder folder_;
};

} // namespace kyb::macroot
