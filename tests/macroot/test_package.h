#pragma once

#include "package_writer.h"

#include <filesystem>
#include <functional>
#include <string>

namespace kyb::macroot {

/// A package with one component, made as a test wants it; the scripts do nothing unless they are given.
struct TestPackage {
    std::string identifier = "com.example.test";
    std::string version = "1.0";
    std::string installLocation = "/";
    std::string preinstall = "#!/bin/sh\n";
    std::string postinstall = "#!/bin/sh\n";
    std::function<void(PayloadWriter &)> payload = [](PayloadWriter &) {};

    /// Writes it as a plain component package; gives the path.
    std::string write(const std::filesystem::path &file) const;
};

} // namespace kyb::macroot
