#pragma once

#include "support/RootFolder.h"

#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <memory>

inline const std::string kDriver = "/Library/Printers/BrelundQuorlix"; ///< what the package puts there, below the root

/// An installer that waits, in the middle, for the file "go" below the root.
inline const std::string kWaitingInstaller = "#!/bin/sh\n"
                                             "root=${0%/usr/sbin/installer}\n"
                                             "echo 'installer:PHASE:Writing files'\n"
                                             "echo 'installer:%1.000000'\n"
                                             "touch \"$root/waiting\"\n"
                                             "while [ ! -e \"$root/go\" ]; do sleep 0.02; done\n"
                                             "echo 'installer: The install was successful.'\n"
                                             "touch \"$root/finished\"\n";

#ifdef __SANITIZE_THREAD__
inline constexpr bool kHasThreadSanitizer = true;
#else
inline constexpr bool kHasThreadSanitizer = false;
#endif

#ifdef __SANITIZE_ADDRESS__
inline constexpr bool kHasAddressSanitizer = true;
#else
inline constexpr bool kHasAddressSanitizer = false;
#endif

/// Whole runs of the real program: each test has a root folder of its own, made by tools/make-macroot, and an installer
/// folder of its own with the bundle's programs and the package.
class SilentRun : public ::testing::Test {
protected:
    using Words = std::vector<std::string>;
    using Program = kyb::test::Program;
    using Ran = kyb::test::Ran;

    SilentRun();

    /// The folder that holds the bundle. Before anything is put into it.
    void setInstallerFolder(const std::string &name) { installerFolder_ = root.beside(name); }
    std::string installerFolder() const { return installerFolder_; }
    std::string program() const;
    std::string package() const { return installerFolder_ + "/OSX/Brelund Quorlix Driver.pkg"; }

    /// Puts the bundle's programs, a version list and a package made with \p options into the installer folder.
    void putInstaller(const Words &options = {"--version", "1.0"}) const;
    void putPackage(const Words &options) const;

    /// Starts the program and does not wait.
    std::unique_ptr<Program> start(const Words &arguments = {"-s", "bob", "PUBLIC"}) const;
    Ran run(const Words &arguments = {"-s", "bob", "PUBLIC"}) const { return finish(*start(arguments)); }

    /// Asks a process to end, by a signal, and expects that it does.
    static void expectToEndWhenAsked(Program &process);

    /// Expects that a process does not end by itself, and ends it.
    static void expectToGoOn(Program &process);

    /// Whether what was lowered for good may be raised, which takes more than to be root.
    static bool mayRaiseHardLimits();

    /// Looks until \p condition holds; the test's own time limit bounds it.
    static void waitUntil(const std::function<bool()> &condition);

    /// Whether the wrapper log has that entry.
    bool hasLogged(const std::string &entry) const;

    std::string helperLog() const { return root.read("/var/log/com.kyb.InstallerHelperTool.log"); }

    const kyb::test::RootFolder root;
    std::map<std::string, std::string> environment;
    Words startedBy; ///< a program, with its arguments, that becomes the program

private:
    void addVariable(const std::string &assignment);

    std::string installerFolder_ = root.beside("Installer");
};
