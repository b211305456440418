#include "ui/views/row_index.h"

#include "text/line_breaks.h"

#include <QChar>
#include <algorithm>

namespace kyb {
namespace {

constexpr qsizetype kRowsPerEntry = 64;
constexpr qsizetype kMaxMarks = 32; // a character with more marks than that may be parted from the rest of them
constexpr char16_t kZeroWidthJoiner = 0x200D;

bool belongsToPrevious(const char16_t *unit) {
    return QChar::isMark(*unit) || *unit == kZeroWidthJoiner || unit[-1] == kZeroWidthJoiner ||
           QChar::isLowSurrogate(*unit);
}

/// How many units of the long line at \p start go into its first row.
qsizetype breakWithinLine(const char16_t *start) {
    qsizetype length = RowIndex::kMaxRowUnits;
    while (length > RowIndex::kMaxRowUnits - kMaxMarks && belongsToPrevious(start + length)) {
        --length;
    }
    const bool partsPair = QChar::isLowSurrogate(start[length]) && QChar::isHighSurrogate(start[length - 1]);
    return length - (partsPair ? 1 : 0);
}

TextRow rowFrom(QStringView text, qsizetype start) {
    const char16_t *begin = text.utf16() + start;
    const qsizetype reach = std::min(text.size() - start, RowIndex::kMaxRowUnits + 1);
    const qsizetype length = findNewline(begin, begin + reach) - begin;
    if (length <= RowIndex::kMaxRowUnits) { // a separator or the end of the text
        return {start, length, start + length + 1};
    }
    const qsizetype broken = breakWithinLine(begin);
    return {start, broken, start + broken};
}

} // namespace

RowIndex::RowIndex(QStringView text) : text_(text) {
    qsizetype longest = -1;
    TextRow row;
    do {
        row = rowFrom(text_, row.next);
        if (rowCount_ % kRowsPerEntry == 0) {
            starts_.push_back(row.start);
        }
        if (row.length > longest) {
            longest = row.length;
            longestRow_ = rowCount_;
        }
        ++rowCount_;
    } while (row.next <= text_.size());
    starts_.shrink_to_fit();
}

TextRow RowIndex::row(qsizetype number) const {
    const qsizetype wanted = std::clamp<qsizetype>(number, 0, rowCount_ - 1);
    TextRow row = rowFrom(text_, starts_[size_t(wanted / kRowsPerEntry)]);
    for (qsizetype left = wanted % kRowsPerEntry; left > 0; --left) {
        row = rowFrom(text_, row.next);
    }
    return row;
}

qsizetype RowIndex::rowAt(qsizetype offset) const {
    const qsizetype wanted = std::clamp<qsizetype>(offset, 0, text_.size());
    const auto entry = std::upper_bound(starts_.begin(), starts_.end(), wanted) - 1;
    qsizetype number = (entry - starts_.begin()) * kRowsPerEntry;
    for (TextRow row = rowFrom(text_, *entry); row.next <= wanted; row = rowFrom(text_, row.next)) {
        ++number;
    }
    return number;
}

} // namespace kyb
