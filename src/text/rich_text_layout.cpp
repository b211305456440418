#include "text/rich_text_layout.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kyb {
namespace {

constexpr double kMostLeft = 216.0;
constexpr double kMostRight = 72.0;
constexpr double kLeastSize = 4.0;
constexpr double kMostSize = 96.0;
constexpr double kViewsOwnSize = 12.0; ///< of an empty line
constexpr double kLineHeight = 1.5;    ///< times the size
constexpr double kMostTab = kMostLeft; ///< to the end of the mark of a hanging paragraph

/// In sizes of its font. A ligature may be as wide as all of its letters; the longest is a sentence, and not taken
/// apart.
qsizetype widthOf(QChar unit) {
    constexpr QChar kBasmala(0xFDFD);
    constexpr qsizetype kMostLetters = 18;
    if (unit == kBasmala) {
        return kMostLetters;
    }
    const bool isLigature = unit.decompositionTag() > QChar::Canonical;
    return isLigature ? std::max<qsizetype>(1, unit.decomposition().size()) : 1;
}

double widthOf(const RichTextRun &run) {
    const double size = shownSize(run);
    double width = 0.0;
    for (const QChar unit : run.text) {
        width += unit == u'\t' ? kMostTab : static_cast<double>(widthOf(unit)) * size;
    }
    return width;
}

/// The direction that counts, of a character of direction \p own that stands after one of direction \p before. What
/// has none goes along.
QChar::Direction directionAfter(QChar::Direction before, QChar::Direction own) {
    switch (own) {
    case QChar::DirL:
    case QChar::DirR:
    case QChar::DirAN:
        return own;
    case QChar::DirAL:
        return QChar::DirR;
    case QChar::DirEN:
        return before == QChar::DirR ? own : before;
    default:
        return before;
    }
}

bool isJapanese(QChar::Script script) {
    return script == QChar::Script_Han || script == QChar::Script_Hiragana || script == QChar::Script_Katakana;
}

/// Whether a character of \p direction begins or ends an embedding, an override or an isolate.
bool isDirectionMark(QChar::Direction direction) {
    return (direction >= QChar::DirLRE && direction <= QChar::DirPDF && direction != QChar::DirAL) ||
           (direction >= QChar::DirLRI && direction <= QChar::DirPDI);
}

} // namespace

RichTextIndents shownIndents(const RichTextParagraph &paragraph) {
    const double left = std::clamp(paragraph.leftIndentPoints, 0.0, kMostLeft);
    const double begin = std::clamp(left + paragraph.firstLineIndentPoints, 0.0, kMostLeft);
    return {left, begin - left, std::clamp(paragraph.rightIndentPoints, 0.0, kMostRight)};
}

double shownSize(const RichTextRun &run) {
    return std::clamp(run.sizePoints, kLeastSize, kMostSize);
}

double shownHeight(const RichTextParagraph &paragraph) {
    const RichTextIndents indents = shownIndents(paragraph);
    const double column = kNarrowestViewPoints - indents.left - std::max(indents.firstLine, 0.0) - indents.right;
    double width = 0.0;
    double size = kViewsOwnSize;
    double lines = 1.0;
    for (const RichTextRun &run : paragraph.runs) {
        width += widthOf(run);
        size = std::max(size, shownSize(run));
        lines += static_cast<double>(run.text.count(QChar::LineSeparator));
    }
    lines += std::floor(width / column);
    return paragraph.spaceBeforePoints + lines * size * kLineHeight + paragraph.spaceAfterPoints;
}

std::set<QChar::Script> scriptsOf(const QString &text) {
    std::set<QChar::Script> scripts;
    for (const char32_t code : text.toUcs4()) {
        scripts.insert(std::max(QChar::script(code), QChar::Script_Common));
    }
    if (scripts.size() > 1) {
        scripts.erase(QChar::Script_Common); // goes along with another
    }
    return scripts;
}

TextTurn TextTurns::before(char32_t code) {
    const QChar::Direction own = QChar::direction(code);
    const QChar::Direction before = std::exchange(direction_, directionAfter(direction_, own));
    const QChar::Script script = std::max(QChar::script(code), QChar::Script_Common);
    const QChar::Script last = std::exchange(script_, script == QChar::Script_Common ? script_ : script);
    if (isDirectionMark(own) || (before != QChar::DirON && before != direction_)) {
        return TextTurn::Other;
    }
    if (last == QChar::Script_Common || last == script_) {
        return TextTurn::None;
    }
    return isJapanese(last) && isJapanese(script_) ? TextTurn::WithinJapanese : TextTurn::Other;
}

} // namespace kyb
