#include "ProgressReport.h"

#include "channel/failure_texts.h"
#include "channel/message_keys.h"

#include <algorithm>
#include <utility>

namespace kyb::helper {
namespace {

constexpr std::size_t kMaxPartialLineBytes = std::size_t{64} << 10;

/// The reader takes no more of a line than 1,023 bytes.
constexpr std::size_t kSeenLineBytes = 1000;
constexpr std::size_t kMaxErrorBytes = 800;

constexpr std::string_view kErrorMark = "installer: Error - ";

/// The last line in two pieces, of which the first does not end a run.
constexpr std::string_view kLastLine = kInstallationDone;
constexpr std::size_t kLastLineBeginBytes = std::char_traits<char>::length("Installation_");
constexpr std::string_view kLastLineBegin = kLastLine.substr(0, kLastLineBeginBytes);
constexpr std::string_view kLastLineRest = kLastLine.substr(kLastLineBeginBytes);

/// The failure that \p line tells, such that the reader sees all of it; empty when it tells none.
std::string failureIn(std::string_view line) {
    const std::size_t at = findFailureText(line);
    if (at == std::string_view::npos) {
        return {};
    }
    return std::string(line.size() <= kSeenLineBytes ? line : line.substr(at, kSeenLineBytes));
}

/// \p lines with every last line in it made another: "Installation Done".
std::string withoutLastLines(std::string lines) {
    for (std::size_t at = 0; (at = lines.find(kLastLine, at)) != std::string::npos;) {
        lines[at + kLastLineBegin.size() - 1] = ' ';
    }
    return lines;
}

} // namespace

/// NB: the reader takes each line for a C string, so a NUL byte would hide what stands after it.
void ProgressReport::addOutput(std::string_view output) {
    std::string text(output);
    std::replace(text.begin(), text.end(), '\0', ' ');
    std::string_view bytes = text;
    const std::size_t lineEnd = bytes.rfind('\n');
    if (lineEnd != std::string_view::npos) {
        std::string lines = std::move(partialLine_);
        lines.append(bytes.substr(0, lineEnd + 1));
        partialLine_.clear();
        bytes.remove_prefix(lineEnd + 1);
        noteLines(lines);
        append(withoutLastLines(std::move(lines)));
    }
    partialLine_.append(bytes);
    if (partialLine_.size() > kMaxPartialLineBytes) {
        noteLines(partialLine_);
        append(withoutLastLines(std::move(partialLine_)));
        partialLine_.clear();
        partialLineIsBegun_ = true;
    }
}

void ProgressReport::noteLines(std::string_view lines) {
    while (!lines.empty()) {
        const std::size_t lineEnd = std::min(lines.find('\n'), lines.size());
        noteLine(lines.substr(0, lineEnd));
        lines.remove_prefix(std::min(lineEnd + 1, lines.size()));
    }
}

void ProgressReport::noteLine(std::string_view line) {
    const std::string failure = failureIn(line);
    const bool goesOn = std::exchange(partialLineIsBegun_, false);
    const bool isBlank = line.find_first_not_of(" \t\r") == std::string_view::npos;
    lastLineIsFailure_ = !failure.empty() && failure.size() == line.size() && !goesOn;
    endsWithFailure_ = !failure.empty() || ((goesOn || isBlank) && endsWithFailure_);
    if (!failure.empty()) {
        ownFailureLine_ = failure;
    }
    if (const std::size_t at = line.find(kErrorMark); at != std::string_view::npos) {
        errorText_ = line.substr(at + kErrorMark.size(), kMaxErrorBytes);
    }
}

void ProgressReport::endPartialLine() {
    if (!partialLine_.empty() || partialLineIsBegun_) {
        addOutput("\n");
    }
}

bool ProgressReport::endsWithFailure() {
    endPartialLine();
    return endsWithFailure_;
}

void ProgressReport::succeed() {
    endPartialLine();
    lastLines_ = std::string(kLastLine) + "\n";
    append(lastLines_);
}

std::string ProgressReport::fail(const std::string &reason) {
    endPartialLine();
    const std::string text = errorText_.empty() ? reason : reason + ": " + errorText_;
    std::string line =
        withoutLastLines(ownFailureLine_.empty() ? "installer: The install failed (" + text + ")" : ownFailureLine_);
    lastLines_ = line + "\n" + std::string(kLastLineBegin);
    append(lastLineIsFailure_ ? kLastLineBegin : lastLines_, lastLines_);
    return line;
}

std::string ProgressReport::untoldError() const {
    return lastLines_.find(errorText_) == std::string::npos ? errorText_ : std::string();
}

void ProgressReport::complete() {
    if (lastLines_.ends_with(kLastLineBegin)) {
        const std::string rest = std::string(kLastLineRest) + "\n";
        lastLines_ += rest;
        append(rest, lastLines_);
    }
}

void ProgressReport::restore() {
    append(lastLines_);
}

void ProgressReport::append(std::string_view text, std::string_view textOfNewFile) {
    isLost_ = isLost_ || !file_.append(text, textOfNewFile);
}

} // namespace kyb::helper
