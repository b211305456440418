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

    [[nodiscard]] const std::filesystem::path &path() const { return m_path; }
    [[nodiscard]] std::filesystem::path operator/(std::string_view name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
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

    [[nodiscard]] std::filesystem::path operator/(std::string_view name) const { return m_folder / "root" / name; }
    [[nodiscard]] std::filesystem::path beside(std::string_view name) const { return m_folder / name; }

    /// Makes a package with tools/make-package; gives its path.
    [[nodiscard]] std::string samplePackage(const std::vector<std::string> &options) const;
    [[nodiscard]] std::vector<std::string> installCommand(const std::string &package) const;
    [[nodiscard]] Ran install(const std::string &package) const;

    [[nodiscard]] bool hasStage() const;
    [[nodiscard]] std::string log() const;
    /// All but the log and the lock, which every run touches.
    [[nodiscard]] Snapshot snapshot() const;

private:
    TempFolder m_folder;
};

} // namespace kyb::macroot
