#include "ProgressReport.h"

#include "channel/failure_texts.h"
#include "channel/message_keys.h"

#include <algorithm>

namespace kyb::helper {
namespace {

constexpr std::size_t kMaxPartialLineBytes = std::size_t{64} << 10;

/// The reader takes no more of a line than 1,023 bytes.
constexpr std::size_t kSeenLineBytes = 1000;

/// A line that begins so and says nothing leaves the shown phase as it is.
constexpr std::string_view kFillerLine = "installer:STATUS:\n";

/// The failure that \p line tells, such that the reader sees all of it; empty when it tells none.
std::string failureIn(std::string_view line) {
    const std::size_t at = findFailureText(line);
    if (at == std::string_view::npos) {
        return {};
    }
    return std::string(line.size() <= kSeenLineBytes ? line : line.substr(at, kSeenLineBytes));
}

} // namespace

void ProgressReport::addOutput(std::string_view bytes) {
    const std::size_t lineEnd = bytes.rfind('\n');
    if (lineEnd != std::string_view::npos) {
        std::string lines = std::move(partialLine_);
        lines.append(bytes.substr(0, lineEnd + 1));
        partialLine_.clear();
        bytes.remove_prefix(lineEnd + 1);
        noteLines(lines);
        append(lines);
    }
    partialLine_.append(bytes);
    if (partialLine_.size() > kMaxPartialLineBytes) {
        noteLines(partialLine_);
        append(partialLine_);
        partialLine_.clear();
        partialLineIsBegun_ = true;
    }
}

void ProgressReport::noteLines(std::string_view lines) {
    while (!lines.empty()) {
        const std::size_t lineEnd = std::min(lines.find('\n'), lines.size());
        const std::string_view line = lines.substr(0, lineEnd);
        const std::string failure = failureIn(line);
        lastLineIsFailure_ = !failure.empty() && failure.size() == line.size() && !partialLineIsBegun_;
        partialLineIsBegun_ = false;
        if (!failure.empty()) {
            ownFailureLine_ = failure;
        }
        lines.remove_prefix(std::min(lineEnd + 1, lines.size()));
    }
}

void ProgressReport::endPartialLine() {
    if (!partialLine_.empty() || partialLineIsBegun_) {
        addOutput("\n");
    }
}

void ProgressReport::announceFailure(const std::string &reason) {
    endPartialLine();
    if (!lastLineIsFailure_ || !file_.isInPlace()) {
        append((ownFailureLine_.empty() ? "installer: The install failed (" + reason + ")" : ownFailureLine_) + "\n");
    }
    append(kFillerLine);
    lastLineIsFailure_ = false;
}

ProgressReport::Announcement ProgressReport::checkAnnouncement(const std::string &reason) {
    if (isLost_ || file_.isInPlace()) {
        return Announcement::InPlace;
    }
    announceFailure(reason);
    return Announcement::MadeAnew;
}

void ProgressReport::finish() {
    endPartialLine();
    append(std::string(kInstallationDone) + "\n");
}

void ProgressReport::append(std::string_view text) {
    isLost_ = isLost_ || !file_.append(text);
}

} // namespace kyb::helper
