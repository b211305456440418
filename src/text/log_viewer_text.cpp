#include "text/log_viewer_text.h"

#include "text/format.h"
#include "text/line_breaks.h"

#include <algorithm>

namespace kyb {
namespace {

/// Shorter filters show everything.
constexpr qsizetype kShortestFilterUnits = 2;

/// Where \p part, which is not empty, next stands in [\p begin, \p end), or \p end.
const char16_t *findPart(const char16_t *begin, const char16_t *end, QStringView part) {
    const std::ptrdiff_t last = part.size() - 1;
    if (end - begin <= last) {
        return end;
    }
    const char16_t firstUnit = part.front().unicode();
    const char16_t lastUnit = part.back().unicode();
    const char16_t *const stop = end - last;
    for (;; ++begin) {
        begin = findPlace(begin, stop,
                          [=](const char16_t *place) { return (place[0] == firstUnit) & (place[last] == lastUnit); });
        if (begin == stop) {
            return end;
        }
        if (QStringView(begin, part.size()) == part) {
            return begin;
        }
    }
}

const char16_t *lineBegin(const char16_t *textBegin, const char16_t *place) {
    while (place != textBegin && !isNewline(place[-1])) {
        --place;
    }
    return place;
}

} // namespace

QString combinedLogText(const QString &internalLog, const std::optional<QString> &capture) {
    return QStringLiteral("Wrapper Application Logs:\n%1\n\n\nInstaller Logs:\n%2").arg(internalLog, orNull(capture));
}

QString LogLines::linesContaining(QStringView part) const {
    QString found;
    if (part.isEmpty() || std::any_of(part.utf16(), part.utf16() + part.size(), isNewline)) {
        return found; // no line holds a newline
    }
    const char16_t *const textBegin = QStringView(text_).utf16();
    const char16_t *const textEnd = textBegin + text_.size();
    const char16_t *hit = findPart(textBegin, textEnd, part);
    while (hit != textEnd) {
        const char16_t *const begin = lineBegin(textBegin, hit);
        const char16_t *const end = findNewline(hit + part.size(), textEnd);
        found.append(u'\n').append(QStringView(begin, end));
        hit = findPart(end, textEnd, part);
    }
    return found;
}

QString filterLog(const QString &wholeText, const LogLines &lines, QStringView filter) {
    return filter.size() < kShortestFilterUnits ? wholeText : lines.linesContaining(filter);
}

std::optional<qsizetype> matchCount(QStringView filter, QStringView shown) {
    return filter.size() < kShortestFilterUnits ? std::nullopt : std::optional(shown.count(u'\n'));
}

} // namespace kyb
