#pragma once

#include "posix/UniqueFd.h"

#include <optional>
#include <string>
#include <string_view>

namespace kyb::helper {

/// The one file that the helper writes for a client. It is always a file that the helper itself made new, in a folder
/// that everybody may write to: whatever lies in its place, a link, a second name of another file, a FIFO, is taken
/// away and never opened. One thread.
class ProgressFile {
public:
    /// Makes the file, empty. \return nothing when that cannot be done: no such folder, the folder is a link, a folder
    /// lies in the file's place, or the system refuses.
    static std::optional<ProgressFile> create(const std::string &path);

    /// Whether the file still lies at its path.
    bool isInPlace() const;

    /// Appends \p text; makes the file anew first when it is not in its place any more.
    /// \return whether it was written.
    bool append(std::string_view text);

private:
    explicit ProgressFile(std::string path) : path_(std::move(path)) {}

    bool make();

    std::string path_;
    UniqueFd file_;
};

} // namespace kyb::helper
