#include "ui/wizard/RichTextView.h"

#include "text/rich_text_layout.h"
#include "ui/wizard/colors.h"

#include <QEvent>
#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextOption>

namespace kyb {
namespace {

constexpr double kPointsPerInch = 72;
constexpr int kMargin = 12; // points
constexpr double kMarkIndentShare = 0.3;

Qt::Alignment alignmentOf(RichTextAlignment alignment) {
    switch (alignment) {
    case RichTextAlignment::Center:
        return Qt::AlignHCenter;
    case RichTextAlignment::Right:
        return Qt::AlignRight;
    case RichTextAlignment::Justified:
        return Qt::AlignJustify;
    case RichTextAlignment::Left:
        break;
    }
    return Qt::AlignLeft;
}

bool beginsWithTab(const RichTextParagraph &paragraph) {
    return !paragraph.runs.isEmpty() && paragraph.runs.constFirst().text.startsWith(u'\t');
}

/// Where the tabs of a hanging paragraph lead, in points from its first line's begin: behind the list mark, to where
/// the other lines begin. A tab before the mark moves it in a little.
QList<QTextOption::Tab> tabsOf(const RichTextParagraph &paragraph, double pixelsPerPoint) {
    const double hang = -shownIndents(paragraph).firstLine * pixelsPerPoint;
    if (hang <= 0) {
        return {};
    }
    QList<QTextOption::Tab> tabs;
    if (beginsWithTab(paragraph)) {
        tabs << QTextOption::Tab(hang * kMarkIndentShare, QTextOption::LeftTab);
    }
    return tabs << QTextOption::Tab(hang, QTextOption::LeftTab);
}

QTextBlockFormat formatOf(const RichTextParagraph &paragraph, double pixelsPerPoint) {
    const RichTextIndents indents = shownIndents(paragraph);
    QTextBlockFormat format;
    format.setTabPositions(tabsOf(paragraph, pixelsPerPoint));
    format.setAlignment(alignmentOf(paragraph.alignment));
    format.setLeftMargin(indents.left * pixelsPerPoint);
    format.setTextIndent(indents.firstLine * pixelsPerPoint);
    format.setRightMargin(indents.right * pixelsPerPoint);
    format.setTopMargin(paragraph.spaceBeforePoints * pixelsPerPoint);
    format.setBottomMargin(paragraph.spaceAfterPoints * pixelsPerPoint);
    return format;
}

QTextCharFormat formatOf(const RichTextRun &run, const QColor &ground) {
    QTextCharFormat format;
    if (!run.fontFamilies.isEmpty()) {
        format.setFontFamilies(run.fontFamilies);
    }
    format.setFontPointSize(shownSize(run));
    format.setFontWeight(run.bold ? QFont::Bold : QFont::Normal);
    format.setFontItalic(run.italic);
    format.setFontUnderline(run.underline);
    format.setFontStrikeOut(run.strikeOut);
    format.setFontCapitalization(run.capitals ? QFont::AllUppercase : QFont::MixedCase);
    if (run.colorRgb) {
        format.setForeground(readableColor(QColor::fromRgb(*run.colorRgb), ground));
    }
    return format;
}

} // namespace

RichTextView::RichTextView(QWidget *parent) : QTextEdit(parent), TextControl(this) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setCursorWidth(0); // a caret is for writing
    document()->setDocumentMargin(kMargin);
}

void RichTextView::setRichText(const RichTextDocument &document) {
    document_ = document;
    write();
}

void RichTextView::setText(const QString &text) {
    document_ = {};
    setPlainText(text);
}

void RichTextView::write() {
    clear();
    const QColor ground = palette().color(QPalette::Base);
    const double pixelsPerPoint = logicalDpiY() / kPointsPerInch;
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    for (const RichTextParagraph &paragraph : document_.paragraphs) {
        if (&paragraph == &document_.paragraphs.front()) {
            cursor.setBlockFormat(formatOf(paragraph, pixelsPerPoint));
        } else {
            cursor.insertBlock(formatOf(paragraph, pixelsPerPoint), QTextCharFormat());
        }
        for (const RichTextRun &run : paragraph.runs) {
            cursor.insertText(run.text, formatOf(run, ground));
        }
    }
    cursor.endEditBlock();
    moveCursor(QTextCursor::Start);
}

void RichTextView::changeEvent(QEvent *event) {
    QTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && !document_.paragraphs.isEmpty()) {
        write();
    }
}

/// Scrolls, with whatever keys. A text edit would zoom, which changes but the lines without a size of their own.
void RichTextView::wheelEvent(QWheelEvent *event) {
    QAbstractScrollArea::wheelEvent(event); // NOLINT(bugprone-parent-virtual-call): past the zoom of QTextEdit
}

} // namespace kyb
