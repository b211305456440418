#pragma once

#include <QStringView>
#include <vector>

namespace kyb {

/// One row of a text as it is shown: a line without its separator, or a piece of a very long line.
struct TextRow {
    qsizetype start = 0;  ///< UTF-16 units from the text's begin
    qsizetype length = 0; ///< UTF-16 units
    qsizetype next = 0;   ///< where the next row starts; beyond the text's end for the last row
    qsizetype end() const { return start + length; }
    bool endsWithinLine() const { return next == end(); }
    bool operator==(const TextRow &) const = default;
};

/// Finds the rows of a text of any size fast and in little memory: it notes where every 64th row starts and looks the
/// others up from there. A row has at most `kMaxRowUnits` units, so whatever is done to one row takes a short time; a
/// line that is longer goes on in further rows, which never part a character from its marks.
///
/// Every separator separates: CR LF gives an empty row, and a separator at the end of the text an empty last row. A
/// text always has a row. Does not keep the text: it must stay as it is while the index is in use. Any one thread.
class RowIndex {
public:
    static constexpr qsizetype kMaxRowUnits = 1024;

    RowIndex() : RowIndex(QStringView()) {}
    explicit RowIndex(QStringView text);

    qsizetype rowCount() const { return rowCount_; }

    /// The row of that number, which is brought into 0 ... rowCount - 1.
    TextRow row(qsizetype number) const;

    /// The number of the row that holds the unit at \p offset; a separator belongs to the row before it.
    qsizetype rowAt(qsizetype offset) const;

    /// The number of the row with the most units, the first of several.
    qsizetype longestRow() const { return longestRow_; }

    qsizetype memoryBytes() const { return qsizetype(starts_.capacity()) * qsizetype(sizeof(qsizetype)); }

private:
    QStringView text_;
    std::vector<qsizetype> starts_; ///< of the rows 0, 64, 128, ...
    qsizetype rowCount_ = 0;
    qsizetype longestRow_ = 0;
};

} // namespace kyb
