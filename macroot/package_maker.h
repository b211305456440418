#pragma once

#include <filesystem>
#include <functional>
#include <span>
#include <string>

namespace kyb::macroot {

/// Reads the words of a program that makes a package: the file to make, and options, each with a value, which
/// \p takeOption takes or not. \return whether all were taken and the file is named.
using TakeOption = std::function<bool(const std::string &option, const std::string &value)>;
bool takeWords(std::span<char *> words, std::string &output, const TakeOption &takeOption);

/// What main() of such a program does: \p make gets the folder in which the program lies, and throws what goes wrong.
/// \return the exit status.
int makePackageFile(const std::string &program, const std::function<void(const std::filesystem::path &)> &make);

/// Tells how the program is called. \return the exit status.
int refuseWords(const std::string &usage);

} // namespace kyb::macroot
