#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>
#include <optional>

namespace kyb {

/// A piece of text in one format.
struct RichTextRun {
    QString text; ///< with U+2028 for a line break within the paragraph; holds no other control character than tabs
    QStringList fontFamilies; ///< the first that the machine has; none: the view's own
    double sizePoints = 12.0;
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool strikeOut = false;
    bool capitals = false;           ///< shows small letters as capitals
    std::optional<quint32> colorRgb; ///< 0xRRGGBB; nothing: the view's own text colour
};

enum class RichTextAlignment { Left, Center, Right, Justified };

struct RichTextParagraph {
    QVector<RichTextRun> runs; ///< none: an empty line
    RichTextAlignment alignment = RichTextAlignment::Left;
    double leftIndentPoints = 0.0;
    double firstLineIndentPoints = 0.0; ///< added to the left indent; negative in hanging paragraphs
    double rightIndentPoints = 0.0;
    double spaceBeforePoints = 0.0;
    double spaceAfterPoints = 0.0; ///< as the one before, 2 inches at most
};

struct RichTextDocument {
    QVector<RichTextParagraph> paragraphs;
    bool isCut = false; ///< lacks what lay beyond a limit; the last paragraph is then "[…]"
};

/// In bytes. Word processors write pictures as text, so that terms of some pages may take a few million.
constexpr qsizetype kMaxRichTextBytes = qsizetype{16} * 1024 * 1024;

/// Of a document's text, in UTF-16 units: 300 pages.
constexpr qsizetype kMaxRichTextUnits = qsizetype{1024} * 1024;

/// Runs and paragraphs of a document, and the places within runs where the direction of the text or its script changes.
/// Each costs a text view as much as a line of text.
constexpr qsizetype kMaxRichTextPieces = 100'000;

/// Of a document's height in the narrowest view (`shownHeight`); one paragraph more may begin. A text view that comes
/// to 8,388,607 pixels breaks pages without end, and the estimate is a rough one. 111,000 lines at most.
constexpr double kMaxRichTextHeightPoints = 2'000'000.0;

/// Fonts of a document, each in each size, weight and slant, and for each script that it is to show. A text view
/// searches the machine's fonts for each. Beyond them, a font that is not among them counts as none, at 12 points.
constexpr qsizetype kMaxRichTextFaces = 128;

/// Of a paragraph's text, in UTF-16 units. A text view measures a word that fits in no line anew for each of its lines,
/// to the word's end; so what a paragraph costs may grow with its square.
constexpr qsizetype kMaxParagraphUnits = 8192;

/// Of a paragraph: the same, with a font to be chosen for each run of the word. A change of direction or script counts
/// as a run, but not one between the scripts of Japanese, which comes with every few characters.
constexpr qsizetype kMaxParagraphRuns = 512;

/// Reads an RTF document, as word processors write it, into paragraphs of formatted text.
///
/// Kept are fonts, sizes, bold, italic, underline, strike-out, text colours, alignment, indents and spacing, list marks
/// (as text), tables (a line for each row, a tab after each cell), the texts of links, which lead nowhere, and those of
/// text boxes, as paragraphs where the boxes are anchored. Left out are pictures, objects, notes, headers, footers,
/// entries of an index, hidden text and what a reviewer took out, which word processors keep in the file. Bytes are
/// read in the code page of the document or of the font, whichever it is (`fromCodePage`); those that spell nothing
/// there read as U+FFFD. The signs of the usual symbol fonts become characters that any font may have.
///
/// Never fails. Of a broken or truncated document it gives what can be read; bytes that do not begin with "{\rtf",
/// behind a byte-order mark, blanks and line ends if there are any, give an empty document. Whatever the bytes, it
/// takes time in proportion to them, and memory within constant limits. A paragraph that is too long goes on in
/// another, without loss; what lies beyond the other limits is not read, and the document says so. Pure.
RichTextDocument parseRichText(const QByteArray &bytes);

/// The document's text: paragraphs and lines are separated by line feeds. Pure.
QString plainText(const RichTextDocument &document);

} // namespace kyb
