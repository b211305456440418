#pragma once

#include "posix/UniqueFd.h"

#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>

// Files and folders below an open folder. No function here ever follows a symbolic link: one that stands where a
// folder should be ends the call with an InstallError. Paths are in the form that payloadPath() gives.
namespace kyb::macroot {

/// Opens the folder with the absolute path \p path. Its own path may lead through links.
UniqueFd openFolder(const std::string &path);

/// Opens the folder \p path below \p base; "" is \p base itself. Empty when it is not there.
UniqueFd openFolderBelow(int base, std::string_view path);

/// The same, but makes with mode 0755 whatever is missing.
UniqueFd makeFolderBelow(int base, std::string_view path);

/// The same; nobody but its owner may enter the folder at the end of the path.
UniqueFd makePrivateFolderBelow(int base, std::string_view path);

/// Readies \p path to be opened or made as a folder of the caller's own: what stands there and is none is removed, and
/// a folder that is closed to its owner is opened up.
void clearWayBelow(int base, std::string_view path);

/// Lets its owner into the folder \p path, if there is one. An error is told by whatever then needs the folder.
void openUpBelow(int base, std::string_view path);

/// What stands at \p path, a link for itself; nothing when it is not there.
std::optional<struct stat> lookBelow(int base, std::string_view path);

/// Removes the file, link or whole tree at \p path; the file or link; the folder if it is empty.
/// That nothing is there is no error, nor is, for the last one, a folder that holds something.
void removeBelow(int base, std::string_view path);
void removeFileBelow(int base, std::string_view path);
void removeEmptyFolderBelow(int base, std::string_view path);

/// Moves a file, link or folder; what stood at \p to is replaced in one step.
void moveBelow(int fromBase, std::string_view from, int toBase, std::string_view to);

/// Gives the file or link at \p from a second name; an earlier file at \p to is an error.
void hardLinkBelow(int fromBase, std::string_view from, int toBase, std::string_view to);

/// Makes the new file \p path and opens it for writing; an earlier one is an error. Missing folders are made.
UniqueFd createFileBelow(int base, std::string_view path, mode_t mode);

/// A new file with this text, or the text of a file; nothing when there is no such file.
void writeFileBelow(int base, std::string_view path, std::string_view text, mode_t mode);
std::optional<std::string> readFileBelow(int base, std::string_view path);

} // namespace kyb::macroot
