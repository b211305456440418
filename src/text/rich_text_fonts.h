#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace kyb {

/// What the name of a font says.
struct RichTextFace {
    QStringList families; ///< the likelier ones first; none: there is no name
    bool bold = false;
    bool italic = false;
};

/// Font tables name a family ("Gill Sans MT") or, as PostScript does, a face ("TimesNewRomanPS-BoldItalicMT").
/// PostScript writes families without their blanks; so several families come into question, as "TimesNewRomanPS",
/// "Times New Roman PS" and "Times New Roman". Pure.
RichTextFace faceOfFontName(const QString &name);

constexpr int kUnknownCodePage = -1;
constexpr int kSymbolCharset = 2;

/// The code page of a font's \\fcharset \p number; `kUnknownCodePage` when there is no such charset. Nothing for those
/// that leave the choice to the document. Pure.
std::optional<int> codePageOfCharset(int number);

} // namespace kyb
