#pragma once

#include "posix/UniqueFd.h"

#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace kyb::helper {

/// The one file that the helper writes for a client. It is always a file that the helper itself made new, in a folder
/// that everybody may write to: whatever lies in its place, a link, a second name of another file, a FIFO, is taken
/// away and never opened. One thread.
class ProgressFile {
public:
    /// Makes the file, empty. \return nothing when that cannot be done: no such folder, the folder is a link, a folder
    /// with something in it lies in the file's place, or the system refuses.
    static std::optional<ProgressFile> create(const std::string &path);

    /// Whether the file still lies at its path, as long as it was written and with the end that was written last.
    bool isInPlace() const;

    /// Appends \p text; when the file is not in its place any more, makes it anew with \p textOfNewFile.
    /// \return whether that was done, or the place was left to others.
    bool append(std::string_view text, std::string_view textOfNewFile);
    bool append(std::string_view text) { return append(text, text); }

    /// From now on the file is not made anew: what others put into its place is left alone.
    void leaveToOthers() { isLeftToOthers_ = true; }

private:
    explicit ProgressFile(std::string path) : path_(std::move(path)) {}

    bool endsWithTail() const;
    bool make();
    bool write(std::string_view text);

    std::string path_;
    UniqueFd file_;
    off_t writtenBytes_ = 0;
    std::string tail_; ///< what was written last
    bool isLeftToOthers_ = false;
};

} // namespace kyb::helper
