#pragma once

#include "support/Program.h"
#include "support/System.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kyb::test {

/// A folder of its own, empty at first and open to everybody's eyes. Gone with the
/// object.
class TempFolder {
public:
    TempFolder();
    /// Takes one that is there.
    explicit TempFolder(std::filesystem::path existing) : path_(std::move(existing)) {}
    ~TempFolder();
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;

    const std::filesystem::path &path() const { return path_; }
    std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

/// A folder that plays "/" for one test, with room beside it. Whatever runs out of it is killed at its end. What cannot
/// be made or run throws std::runtime_error.
class RootFolder {
public:
    /// \param name where it lies in its temporary folder.
    explicit RootFolder(const std::string &name = "MacintoshHD") : root_(folder_ / name) { clear(); }

    /// One that lies in a folder that is there.
    RootFolder(const std::string &name, const std::filesystem::path &folder) : folder_(folder), root_(folder_ / name) {
        clear();
    }

    ~RootFolder();

    /// Kills what runs out of it and leaves nothing in it but the folders for sockets, logs and temporary files.
    void clear() const;

    /// Makes it what tools/make-macroot makes.
    void makeMacRoot() const;

    std::string path() const { return root_; }
    std::string at(std::string_view fixedPath) const { return root_.string().append(fixedPath); }
    std::filesystem::path beside(std::string_view name) const { return folder_ / name; }

    /// What a program that is to run in it has in its environment, "NAME=value".
    std::vector<std::string> environment() const { return system_->environment(); }
    /// The name that programs know a fixed path by.
    std::string seen(std::string_view fixedPath) const { return system_->seen(fixedPath); }
    /// The processes of its programs but the helpers, and what they have started, whose command lines name \p text.
    std::vector<pid_t> processes(std::string_view text = {}) const;

    std::string read(std::string_view fixedPath) const;
    bool exists(std::string_view fixedPath) const { return std::filesystem::exists(at(fixedPath)); }
    void remove(std::string_view fixedPath) const { std::filesystem::remove(at(fixedPath)); }
    void write(std::string_view fixedPath, std::string_view content) const; ///< with the folders that it needs

    /// Puts a shell script in place of a system program.
    void putProgram(std::string_view fixedPath, std::string_view script) const;

    /// The PATH with a sudo in front of it that gives no more rights: what the product runs with it needs none here,
    /// and must never ask for a password.
    std::string pathWithSudo() const;

    // The helper.
    std::string progressFile() const;
    std::string helperFile() const;
    void registerHelper(const std::string &program) const; ///< puts it at the registered helper's place
    std::vector<pid_t> helpers() const;                    ///< the processes that run what lies there
    void killHelpers() const;                              ///< returns when they are gone

    // What an installation leaves.
    std::vector<std::string> logEntries() const; ///< of the wrapper log, without their stamps
    std::string installedVersion() const;        ///< of the receipt; empty when there is none
    std::string preference() const;              ///< the public/private choice: "YES" is private

private:
    std::string textUnder(std::string_view key, std::string_view propertyList) const;

    TempFolder folder_;
    std::filesystem::path root_;
    mutable std::unique_ptr<System> system_; ///< begins anew with the folder
};

/// The beginning of an installer that can say TEXT: in the system installer's log, again and again until the program
/// has captured it. Its root is in $root.
inline constexpr char kInstallerThatIsHeard[] = "#!/bin/sh\n"
                                                "root=${0%/usr/sbin/installer}\n"
                                                "say() {\n"
                                                "    until grep -q \"$1\" \"$root/var/tmp/kyb/kyb_install.log\"; do\n"
                                                "        echo \"$1\" >>\"$root/var/log/install.log\"\n"
                                                "        sleep 0.02\n"
                                                "    done\n"
                                                "}\n";

/// The paths of a program of the build that stands in for macOS, and of a script of tools/.
std::string builtProgram(const std::string &name);
std::string tool(const std::string &name);

/// Makes a package with tools/make-package, in place of what is there.
void makePackage(const std::filesystem::path &file, const std::vector<std::string> &options);

/// Makes the package that sets up a Mac without a user, with tools/make-fleet-package, in place of what is there.
/// \param driver the folder with the driver package and its version list.
/// \param options "--version" at least; for a bundle that was built here, "--job" as well.
void makeFleetPackage(const std::filesystem::path &file, const std::filesystem::path &bundle,
                      const std::filesystem::path &driver, const std::vector<std::string> &options);

/// The content of the file at \p path; empty when there is none.
std::string contentOf(const std::filesystem::path &path);
void writeText(const std::filesystem::path &path, std::string_view content);
/// Copies a program, with the folders that it needs, in place of what is there.
void copyProgram(const std::filesystem::path &from, const std::filesystem::path &to);

} // namespace kyb::test
