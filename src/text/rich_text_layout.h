#pragma once

#include "text/rich_text.h"

#include <QChar>
#include <set>

namespace kyb {

// What a view makes of a document's lengths. All of them are in points.

/// No view of a document is narrower.
constexpr double kNarrowestViewPoints = 360.0;

struct RichTextIndents {
    double left = 0.0;
    double firstLine = 0.0; ///< added to the left one
    double right = 0.0;
};

/// The indents of \p paragraph as a view shows them: none leads out of the view, and they leave 72 points to the text
/// of the narrowest one. Pure.
RichTextIndents shownIndents(const RichTextParagraph &paragraph);

/// From 4 to 96. Pure.
double shownSize(const RichTextRun &run);

/// How high \p paragraph is at most in the narrowest view, if its characters are no wider than their size and its lines
/// no higher than one and a half times that. Takes time in proportion to the text. Pure.
double shownHeight(const RichTextParagraph &paragraph);

/// The scripts that \p text is written in, for each of which a view chooses a font; Common, if it is of any. Pure.
std::set<QChar::Script> scriptsOf(const QString &text);

enum class TextTurn {
    None,
    WithinJapanese, ///< from one of its scripts to another, which comes with every few characters
    Other,          ///< to another direction or script
};

/// Finds where a view takes the text of a paragraph apart, beside its formats.
class TextTurns {
public:
    /// The turn before \p code, the next character.
    TextTurn before(char32_t code);

private:
    QChar::Direction direction_ = QChar::DirON;
    QChar::Script script_ = QChar::Script_Common;
};

} // namespace kyb
