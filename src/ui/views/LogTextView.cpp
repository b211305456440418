#include "ui/views/LogTextView.h"

#include "text/localized_text.h"
#include "ui/views/accessibility.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QTextBoundaryFinder>
#include <climits>
#include <cmath>

namespace kyb {
namespace {

constexpr int kMarginPoints = 4;
constexpr int kTabColumns = 8;
constexpr int kAutoScrollMilliseconds = 40;
constexpr double kUnboundedPoints = 1e7; // no row is as wide

/// The selection, offered to other programs for the middle mouse button. Holds on to the text and cuts the piece out
/// when somebody asks, so that dragging through a large log copies nothing.
class SelectionOffer : public QMimeData {
public:
    SelectionOffer(QString text, qsizetype start, qsizetype length)
        : text_(std::move(text)), start_(start), length_(length) {}
    QStringList formats() const override { return {QStringLiteral("text/plain")}; }
    bool hasFormat(const QString &type) const override { return formats().contains(type); }

protected:
    QVariant retrieveData(const QString &, QMetaType) const override { return text_.mid(start_, length_); }

private:
    QString text_;
    qsizetype start_;
    qsizetype length_;
};

} // namespace

struct LogTextView::KeyBinding {
    QKeySequence::StandardKey move;
    QKeySequence::StandardKey select;
    Motion motion;
};

// clang-format off
constexpr LogTextView::KeyBinding LogTextView::kKeyBindings[] = {
    {QKeySequence::MoveToPreviousChar,    QKeySequence::SelectPreviousChar,   Motion::PreviousCharacter},
    {QKeySequence::MoveToNextChar,        QKeySequence::SelectNextChar,       Motion::NextCharacter},
    {QKeySequence::MoveToPreviousWord,    QKeySequence::SelectPreviousWord,   Motion::PreviousWord},
    {QKeySequence::MoveToNextWord,        QKeySequence::SelectNextWord,       Motion::NextWord},
    {QKeySequence::MoveToPreviousLine,    QKeySequence::SelectPreviousLine,   Motion::PreviousRow},
    {QKeySequence::MoveToNextLine,        QKeySequence::SelectNextLine,       Motion::NextRow},
    {QKeySequence::MoveToPreviousPage,    QKeySequence::SelectPreviousPage,   Motion::PreviousPage},
    {QKeySequence::MoveToNextPage,        QKeySequence::SelectNextPage,       Motion::NextPage},
    {QKeySequence::MoveToStartOfLine,     QKeySequence::SelectStartOfLine,    Motion::StartOfRow},
    {QKeySequence::MoveToEndOfLine,       QKeySequence::SelectEndOfLine,      Motion::EndOfRow},
    {QKeySequence::MoveToStartOfDocument, QKeySequence::SelectStartOfDocument, Motion::StartOfText},
    {QKeySequence::MoveToEndOfDocument,   QKeySequence::SelectEndOfDocument,  Motion::EndOfText},
};
// clang-format on

/// A row, laid out as its one line.
class LogTextView::RowLayout : public QTextLayout {
public:
    RowLayout(const LogTextView &view, const TextRow &row)
        : QTextLayout(view.text_.mid(row.start, row.length), view.QWidget::font(), view.viewport()) {
        QTextOption option(Qt::AlignLeft | Qt::AlignAbsolute);
        option.setWrapMode(QTextOption::NoWrap);
        option.setTabStopDistance(kTabColumns * QFontMetricsF(view.QWidget::font()).averageCharWidth());
        setTextOption(option);
        setCacheEnabled(true);
        beginLayout();
        createLine().setLineWidth(kUnboundedPoints);
        endLayout();
    }
    QTextLine line() const { return lineAt(0); }
};

LogTextView::LogTextView(QWidget *parent) : QAbstractScrollArea(parent), TextControl(this) {
    installViewAccessibility();
    setAccessibleName(localizedText(QStringLiteral("LogTextName")));
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setCursor(Qt::IBeamCursor);
    updateScrollBars();
}

void LogTextView::setText(const QString &text) {
    text_ = text;
    rows_ = RowIndex(text_);
    anchor_ = caret_ = 0;
    goalX_ = -1;
    verticalScrollBar()->setValue(0);
    horizontalScrollBar()->setValue(0);
    updateWidth();
    viewport()->update();
    Q_EMIT textChanged();
}

// The layout.

int LogTextView::rowHeight() const {
    return std::max(1, int(std::ceil(QFontMetricsF(QWidget::font()).lineSpacing())));
}

int LogTextView::rowsPerPage() const {
    return std::max(1, (viewport()->height() - 2 * kMarginPoints) / rowHeight());
}

qsizetype LogTextView::firstVisibleRow() const {
    return verticalScrollBar()->value();
}

/// Measures the row with the most units, which hardly any other is wider than.
void LogTextView::updateWidth() {
    width_ = RowLayout(*this, rows_.row(rows_.longestRow())).line().naturalTextWidth();
    updateScrollBars();
}

void LogTextView::updateScrollBars() {
    const qsizetype beyond = std::max<qsizetype>(0, rows_.rowCount() - rowsPerPage());
    verticalScrollBar()->setRange(0, int(std::min<qsizetype>(beyond, INT_MAX)));
    verticalScrollBar()->setPageStep(rowsPerPage());
    const int width = int(std::ceil(width_)) + 2 * kMarginPoints;
    horizontalScrollBar()->setRange(0, std::max(0, width - viewport()->width()));
    horizontalScrollBar()->setPageStep(viewport()->width());
    horizontalScrollBar()->setSingleStep(std::max(1, int(QFontMetricsF(QWidget::font()).averageCharWidth()) * 4));
}

qsizetype LogTextView::positionAt(QPoint point) const {
    const int down = int(std::floor(double(point.y() - kMarginPoints) / rowHeight()));
    const TextRow row = rows_.row(firstVisibleRow() + down);
    const RowLayout layout(*this, row);
    const int x = point.x() - kMarginPoints + horizontalScrollBar()->value();
    return row.start + layout.line().xToCursor(x);
}

QRect LogTextView::caretRect(qsizetype offset) const {
    const qsizetype number = rows_.rowAt(offset);
    const TextRow row = rows_.row(number);
    const RowLayout layout(*this, row);
    const double x = layout.line().cursorToX(int(offset - row.start));
    const qsizetype page = rowsPerPage();
    const qsizetype down = std::clamp(number - firstVisibleRow(), -page, 2 * page);
    return {int(x) + kMarginPoints - horizontalScrollBar()->value(), int(down) * rowHeight() + kMarginPoints, 1,
            rowHeight()};
}

// The painting.

void LogTextView::drawRow(QPainter &painter, const TextRow &row, QPointF where) const {
    const RowLayout layout(*this, row);
    QList<QTextLayout::FormatRange> selections;
    const qsizetype from = std::max(selectionStart(), row.start);
    const qsizetype to = std::min(selectionEnd(), row.end());
    const auto group = hasFocus() ? QPalette::Active : QPalette::Inactive;
    if (from < to) {
        QTextLayout::FormatRange range{int(from - row.start), int(to - from), {}};
        range.format.setBackground(palette().brush(group, QPalette::Highlight));
        range.format.setForeground(palette().brush(group, QPalette::HighlightedText));
        selections.append(range);
    }
    const bool holdsSeparator = selectionStart() <= row.end() && selectionEnd() > row.end() && !row.endsWithinLine();
    if (holdsSeparator) {
        const QSizeF size(QFontMetricsF(QWidget::font()).averageCharWidth(), rowHeight());
        painter.fillRect(QRectF(where + QPointF(layout.line().naturalTextWidth(), 0), size),
                         palette().brush(group, QPalette::Highlight));
    }
    layout.draw(&painter, where, selections);
}

void LogTextView::paintEvent(QPaintEvent *event) {
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::Text));
    const int height = rowHeight();
    const int down = std::max(0, (event->rect().top() - kMarginPoints) / height);
    QPointF where(kMarginPoints - horizontalScrollBar()->value(), kMarginPoints + down * height);
    TextRow row;
    for (qsizetype number = firstVisibleRow() + down; number < rows_.rowCount() && where.y() <= event->rect().bottom();
         ++number, where.ry() += height) {
        row = rows_.row(number);
        drawRow(painter, row, where);
    }
    if (hasFocus()) {
        painter.fillRect(caretRect(caret_), palette().color(QPalette::Text));
    }
}

void LogTextView::resizeEvent(QResizeEvent *event) {
    QAbstractScrollArea::resizeEvent(event);
    updateScrollBars();
}

void LogTextView::changeEvent(QEvent *event) {
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        updateWidth();
        viewport()->update();
    }
}

void LogTextView::scrollContentsBy(int, int) {
    viewport()->update();
}

void LogTextView::focusInEvent(QFocusEvent *event) {
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void LogTextView::focusOutEvent(QFocusEvent *event) {
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

// The selection.

QString LogTextView::selectedText() const {
    return text_.mid(selectionStart(), selectionEnd() - selectionStart());
}

void LogTextView::select(qsizetype anchor, qsizetype caret) {
    anchor_ = std::clamp<qsizetype>(anchor, 0, text_.size());
    caret_ = std::clamp<qsizetype>(caret, 0, text_.size());
    goalX_ = -1;
    scrollTo(caret_);
    viewport()->update();
    if (QAccessible::isActive()) {
        QAccessibleTextSelectionEvent event(this, int(selectionStart()), int(selectionEnd()));
        QAccessible::updateAccessibility(&event);
    }
}

/// NB: does not scroll: who selects all wants to stay where he is.
void LogTextView::selectAll() {
    anchor_ = 0;
    caret_ = text_.size();
    viewport()->update();
    offerSelection();
}

void LogTextView::copy() const {
    if (hasSelection()) {
        QApplication::clipboard()->setText(selectedText());
    }
}

void LogTextView::offerSelection() const {
    QClipboard *clipboard = QApplication::clipboard();
    if (hasSelection() && clipboard->supportsSelection()) {
        clipboard->setMimeData(new SelectionOffer(text_, selectionStart(), selectionEnd() - selectionStart()),
                               QClipboard::Selection);
    }
}

void LogTextView::moveCaret(qsizetype offset, Selection selection) {
    select(selection == Selection::Extend ? anchor_ : offset, offset);
}

void LogTextView::scrollTo(qsizetype offset) {
    const int number = int(std::min<qsizetype>(rows_.rowAt(offset), INT_MAX));
    const int first = verticalScrollBar()->value();
    verticalScrollBar()->setValue(std::clamp(first, number - rowsPerPage() + 1, number));
    const QRect where = caretRect(offset);
    const int beyondRight = where.right() + kMarginPoints - viewport()->width();
    const int beyondLeft = where.left() - kMarginPoints;
    horizontalScrollBar()->setValue(horizontalScrollBar()->value() + std::max(0, beyondRight) +
                                    std::min(0, beyondLeft));
}

// The keyboard.

qsizetype LogTextView::movedByRows(qsizetype rows) const {
    const qsizetype number = std::clamp<qsizetype>(rows_.rowAt(caret_) + rows, 0, rows_.rowCount() - 1);
    const TextRow row = rows_.row(number);
    const RowLayout layout(*this, row);
    return row.start + layout.line().xToCursor(goalX_);
}

qsizetype LogTextView::steppedForward(QTextLayout::CursorMode mode) const {
    const TextRow row = rows_.row(rows_.rowAt(caret_));
    if (caret_ >= row.end()) {
        return std::min(row.next, text_.size());
    }
    const RowLayout layout(*this, row);
    return row.start + layout.nextCursorPosition(int(caret_ - row.start), mode);
}

qsizetype LogTextView::steppedBack(QTextLayout::CursorMode mode) const {
    const qsizetype number = rows_.rowAt(caret_);
    TextRow row = rows_.row(number);
    if (caret_ == row.start) {
        row = rows_.row(number - 1);
        if (!row.endsWithinLine()) {
            return std::min(row.end(), caret_); // over the separator alone; at the begin of the text, nowhere
        }
    }
    const RowLayout layout(*this, row);
    return row.start + layout.previousCursorPosition(int(caret_ - row.start), mode);
}

qsizetype LogTextView::moved(Motion motion) const {
    const TextRow row = rows_.row(rows_.rowAt(caret_));
    switch (motion) {
    case Motion::PreviousCharacter:
        return steppedBack(QTextLayout::SkipCharacters);
    case Motion::NextCharacter:
        return steppedForward(QTextLayout::SkipCharacters);
    case Motion::PreviousWord:
        return steppedBack(QTextLayout::SkipWords);
    case Motion::NextWord:
        return steppedForward(QTextLayout::SkipWords);
    case Motion::PreviousRow:
        return movedByRows(-1);
    case Motion::NextRow:
        return movedByRows(1);
    case Motion::PreviousPage:
        return movedByRows(-rowsPerPage());
    case Motion::NextPage:
        return movedByRows(rowsPerPage());
    case Motion::StartOfRow:
        return row.start;
    case Motion::EndOfRow:
        return row.endsWithinLine() ? row.end() - 1 : row.end();
    case Motion::StartOfText:
        return 0;
    case Motion::EndOfText:
        return text_.size();
    }
    return caret_;
}

void LogTextView::keyPressEvent(QKeyEvent *event) {
    if (event->matches(QKeySequence::Copy)) {
        copy();
        return;
    }
    if (event->matches(QKeySequence::SelectAll)) {
        selectAll();
        return;
    }
    const auto *end = std::end(kKeyBindings);
    const auto *binding = std::find_if(kKeyBindings, end, [&](const KeyBinding &row) {
        return event->matches(row.move) || event->matches(row.select);
    });
    if (binding == end) {
        event->ignore();
        return;
    }
    const double goal = goalX_ < 0 ? caretRect(caret_).x() - kMarginPoints + horizontalScrollBar()->value() : goalX_;
    goalX_ = goal;
    moveCaret(moved(binding->motion), event->matches(binding->select) ? Selection::Extend : Selection::Drop);
    const bool goesFromRowToRow = binding->motion >= Motion::PreviousRow && binding->motion <= Motion::NextPage;
    goalX_ = goesFromRowToRow ? goal : -1;
    offerSelection();
}

// The mouse.

void LogTextView::mousePressEvent(QMouseEvent *event) {
    if (event->button() != Qt::LeftButton) {
        return;
    }
    const bool extends = event->modifiers().testFlag(Qt::ShiftModifier);
    moveCaret(positionAt(event->position().toPoint()), extends ? Selection::Extend : Selection::Drop);
}

void LogTextView::mouseMoveEvent(QMouseEvent *event) {
    if (!event->buttons().testFlag(Qt::LeftButton)) {
        return;
    }
    moveCaret(positionAt(event->position().toPoint()), Selection::Extend);
    if (viewport()->rect().contains(event->position().toPoint())) {
        autoScroll_.stop();
    } else if (!autoScroll_.isActive()) {
        autoScroll_.start(kAutoScrollMilliseconds, this);
    }
}

/// While the pointer is held outside of the view, the selection goes on in its direction.
void LogTextView::extendToPointer() {
    const QPoint pointer = viewport()->mapFromGlobal(QCursor::pos());
    moveCaret(positionAt(pointer), Selection::Extend);
}

void LogTextView::timerEvent(QTimerEvent *event) {
    if (event->timerId() == autoScroll_.timerId()) {
        extendToPointer();
    } else {
        QAbstractScrollArea::timerEvent(event);
    }
}

void LogTextView::mouseReleaseEvent(QMouseEvent *) {
    autoScroll_.stop();
    offerSelection();
}

void LogTextView::mouseDoubleClickEvent(QMouseEvent *event) {
    if (event->button() != Qt::LeftButton) {
        return;
    }
    const qsizetype offset = positionAt(event->position().toPoint());
    const TextRow row = rows_.row(rows_.rowAt(offset));
    QTextBoundaryFinder words(QTextBoundaryFinder::Word, text_.mid(row.start, row.length));
    words.setPosition(std::min(offset - row.start, std::max<qsizetype>(0, row.length - 1)));
    const qsizetype start = words.isAtBoundary() ? words.position() : words.toPreviousBoundary();
    const qsizetype end = words.toNextBoundary();
    select(row.start + std::max<qsizetype>(0, start), end < 0 ? row.end() : row.start + end);
    offerSelection();
}

void LogTextView::contextMenuEvent(QContextMenuEvent *event) {
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(localizedText(QStringLiteral("Copy")), this, &LogTextView::copy)->setEnabled(hasSelection());
    menu->addAction(localizedText(QStringLiteral("Select All")), this, &LogTextView::selectAll)
        ->setEnabled(!text_.isEmpty());
    menu->popup(event->globalPos());
}

} // namespace kyb
