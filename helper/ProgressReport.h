#pragma once

#include "ProgressFile.h"

#include <string>
#include <string_view>

namespace kyb::helper {

/// What the polling reader gets to see of one command: its output, line by line, and how it ended. The reader looks at
/// the last two lines of the file, one after the other and at moments of its own, and takes the next-to-last for
/// progress or failure and the last for the end. One thread.
class ProgressReport {
public:
    explicit ProgressReport(ProgressFile file) : file_(std::move(file)) {}

    /// Takes output of the command as it comes. Complete lines go into the file in one piece; so does a line that grows
    /// longer than 64 KiB without an end. A last line of the command's own is written such that it is none, and a NUL
    /// byte as a blank.
    void addOutput(std::string_view output);

    /// Whether the output ends with a failure text, whatever the command's status: the reader takes it for a failure if
    /// he sees it, and must not miss it. After the last output.
    /// NB: he takes a line that is no valid UTF-8 for one as well; that says nothing of the command, which the status
    /// does.
    bool endsWithFailure();

    /// Writes the last line. After the last output.
    void succeed();

    /// Makes a failure text the next-to-last line, for ever: one of the command's own, or else one that tells
    /// \p reason and the installer's error. Of the last line only the begin is written, which `complete` ends: the
    /// reader may have looked at the next-to-last line already, and must not meet the end before it has looked anew.
    /// After the last output. \return that line.
    std::string fail(const std::string &reason);

    /// What the output's last line with an error of the installer says, when the failure line does not; after `fail`.
    std::string untoldError() const;

    /// Ends the last line after a failure; does nothing after a success.
    void complete();

    bool isInPlace() const { return file_.isInPlace(); }

    /// Makes the file anew, with what its reader needs of it. After its end, when others took it away.
    void restore();

    /// From now on what others put into the file's place is left alone.
    void leaveToOthers() { file_.leaveToOthers(); }

    /// Whether the file could not be written, once. Nothing is written after that, and the reader must be told
    /// otherwise.
    bool isLost() const { return isLost_; }

private:
    void noteLines(std::string_view lines);
    void noteLine(std::string_view line);
    void endPartialLine();
    void append(std::string_view text) { append(text, text); }
    void append(std::string_view text, std::string_view textOfNewFile);

    ProgressFile file_;
    std::string partialLine_;
    bool partialLineIsBegun_ = false; ///< whether the first part of the line was written because it is so long
    std::string ownFailureLine_;      ///< the last line of the output that held a failure text, empty: none
    std::string errorText_;           ///< what the output's last line with an error of the installer says, empty: none
    bool lastLineIsFailure_ = false;  ///< all of the last line, such that the reader sees it
    bool endsWithFailure_ = false;    ///< whether the last line that is not blank tells one
    std::string lastLines_;           ///< what the file must end with, once the command has ended
    bool isLost_ = false;
};

} // namespace kyb::helper
