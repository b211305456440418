#pragma once

#include <QString>
#include <optional>

namespace kyb {

/// The log window's text: the wrapper's own log and the captured installer log, each under its heading.
///
/// \param capture the captured log; nothing when it could not be read, which shows as "(null)".
/// \return never null. Pure.
QString combinedLogText(const QString &internalLog, const std::optional<QString> &capture);

/// A log, seen as its lines: what stands between the newline characters (see line_breaks.h), empty lines included.
///
/// It shares the text's memory and keeps nothing beside it, however many lines there are. The text may be of any size.
/// A value: any thread, each its own.
class LogLines {
public:
    LogLines() = default;
    explicit LogLines(QString text) : text_(std::move(text)) {}

    /// For each line that contains \p part, in order, a newline and the line; empty when none does. The search is
    /// literal and case-sensitive, and fast enough to be made at each keystroke: tens of milliseconds for a log of 100
    /// MB.
    QString linesContaining(QStringView part) const;

private:
    QString text_;
};

/// What the log window shows for a filter text.
///
/// \param wholeText what a filter of fewer than 2 UTF-16 units shows.
/// \param lines the lines of that text.
/// \return the matching lines, each *after* a newline, so that a text that is not empty begins with one. Pure.
QString filterLog(const QString &wholeText, const LogLines &lines, QStringView filter);

/// How many lines \p filter has left in \p shown, which `filterLog` made for it; nothing when it shows everything.
/// Pure.
std::optional<qsizetype> matchCount(QStringView filter, QStringView shown);

} // namespace kyb
