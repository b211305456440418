#pragma once

#include "ProgressFile.h"

#include <optional>
#include <string>
#include <string_view>

namespace kyb::helper {

/// What the polling reader gets to see of one command: its output, line by line, and how it ended. The reader looks at
/// the last two lines of the file, at moments of its own, and takes the last for the end and the next-to-last for
/// progress or failure. One thread.
class ProgressReport {
public:
    explicit ProgressReport(ProgressFile file) : file_(std::move(file)) {}

    /// Takes output of the command as it comes. Complete lines go into the file in one piece; so does a line that grows
    /// longer than 64 KiB without an end.
    void addOutput(std::string_view bytes);

    /// Puts a failure text into the next-to-last line: one of the command's own, or else one that tells \p reason.
    /// After the last output.
    void announceFailure(const std::string &reason);

    enum class Announcement { InPlace, MadeAnew };

    /// Looks after the announced failure: when the file was taken away since, it is made and announced anew.
    Announcement checkAnnouncement(const std::string &reason);

    /// Writes the last line. Last call.
    void finish();

    /// Whether the file could not be written, once. Nothing is written after that, and the reader must be told
    /// otherwise.
    bool isLost() const { return isLost_; }

private:
    void noteLines(std::string_view lines);
    void endPartialLine();
    void append(std::string_view text);

    ProgressFile file_;
    std::string partialLine_;
    bool partialLineIsBegun_ = false; ///< whether the first part of the line was written because it is so long
    std::string ownFailureLine_;      ///< the last line of the output that held a failure text, empty: none
    bool lastLineIsFailure_ = false;
    bool isLost_ = false;
};

} // namespace kyb::helper
