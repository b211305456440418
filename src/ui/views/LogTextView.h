#pragma once

#include "ui/views/WidgetControl.h"
#include "ui/views/row_index.h"

#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <QString>
#include <QTextLayout>

namespace kyb {

/// Shows a log of any size, to be read, searched by eye, selected and copied. It shares the string that it is given and
/// adds an index of the rows, nothing else; only the rows that are seen are ever laid out.
///
/// Lines are not wrapped, except that a very long one goes on in a further row every `RowIndex::kMaxRowUnits` units.
/// Main thread.
class LogTextView : public QAbstractScrollArea, public TextControl {
    Q_OBJECT

public:
    explicit LogTextView(QWidget *parent = nullptr);

    /// Shows \p text from its begin, with nothing selected.
    void setText(const QString &text) override;
    QString text() const override { return text_; }

    // The selection lies between the anchor and the caret, offsets in UTF-16 units; the caret is where the keys act.
    qsizetype caret() const { return caret_; }
    qsizetype selectionStart() const { return std::min(anchor_, caret_); }
    qsizetype selectionEnd() const { return std::max(anchor_, caret_); }
    bool hasSelection() const { return anchor_ != caret_; }
    QString selectedText() const;
    void select(qsizetype anchor, qsizetype caret); ///< and scrolls to the caret
    void selectAll();
    void copy() const; ///< the selection to the clipboard; without one, nothing

    const RowIndex &rows() const { return rows_; }
    qsizetype firstVisibleRow() const;
    int rowHeight() const; ///< points

    /// The offset nearest to \p point, in points of the viewport.
    qsizetype positionAt(QPoint point) const;

    /// The place of the caret when it is at \p offset, in points of the viewport; it may lie outside of it.
    QRect caretRect(qsizetype offset) const;

Q_SIGNALS:
    void textChanged();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    enum class Motion {
        PreviousCharacter,
        NextCharacter,
        PreviousWord,
        NextWord,
        PreviousRow,
        NextRow,
        PreviousPage,
        NextPage,
        StartOfRow,
        EndOfRow,
        StartOfText,
        EndOfText,
    };
    enum class Selection { Drop, Extend };
    class RowLayout;
    struct KeyBinding;
    static const KeyBinding kKeyBindings[];

    void drawRow(QPainter &painter, const TextRow &row, QPointF where) const;
    void updateWidth();
    void updateScrollBars();
    int rowsPerPage() const;

    qsizetype moved(Motion motion) const;
    qsizetype steppedForward(QTextLayout::CursorMode mode) const;
    qsizetype steppedBack(QTextLayout::CursorMode mode) const;
    qsizetype movedByRows(qsizetype rows) const;
    void moveCaret(qsizetype offset, Selection selection);
    void scrollTo(qsizetype offset);
    void extendToPointer();
    void offerSelection() const;

    QString text_;
    RowIndex rows_;
    qsizetype anchor_ = 0;
    qsizetype caret_ = 0;
    double goalX_ = -1; ///< where the caret aims at when it goes from row to row, points; negative: where it is
    double width_ = 0;  ///< of the widest row known, points
    QBasicTimer autoScroll_;
};

} // namespace kyb
