#include "text/rich_text_fonts.h"

#include <algorithm>
#include <iterator>

namespace kyb {
namespace {

/// A word of a face's name behind the hyphen.
struct StyleWord {
    QStringView text;
    bool bold = false;
    bool italic = false;
};

constexpr StyleWord kStyleWords[] = {
    {u"Black", true},
    {u"Bold", true},
    {u"Book"},
    {u"Cond"},
    {u"Condensed"},
    {u"Demi", true},
    {u"Demibold", true},
    {u"Extra"},
    {u"Heavy", true},
    {u"Inclined", false, true},
    {u"It", false, true},
    {u"Italic", false, true},
    {u"Light"},
    {u"MT"},
    {u"Medium"},
    {u"Narrow"},
    {u"Oblique", false, true},
    {u"Regular"},
    {u"Roman"},
    {u"Semi"},
    {u"Semibold", true},
    {u"Thin"},
    {u"Ultra"},
};

// What PostScript names of families end in, for those who made or adapted the font.
constexpr QStringView kMakers[] = {u" MT", u" PSMT", u" PS"};

/// Whether a word begins at \p i, in a name that tells its words by their capitals: at the S of "HelveticaSans" and of
/// "PTSans".
bool isWordBegin(QStringView name, qsizetype i) {
    return i > 0 && name[i].isUpper() &&
           (name[i - 1].isLower() || (name[i - 1].isUpper() && i + 1 < name.size() && name[i + 1].isLower()));
}

QString withBlanks(QStringView name) {
    QString text;
    for (qsizetype i = 0; i < name.size(); ++i) {
        if (isWordBegin(name, i)) {
            text.append(u' ');
        }
        text.append(name[i]);
    }
    return text;
}

/// The families that a name without blanks may stand for.
QStringList familiesOf(const QString &name) {
    const QString words = withBlanks(name);
    QStringList families{name, words};
    for (const QStringView maker : kMakers) {
        if (words.endsWith(maker)) {
            families.append(words.chopped(maker.size()));
        }
    }
    families.removeDuplicates();
    return families;
}

/// Takes on the style that \p words tell; false when one of them tells none.
bool takeStyle(const QString &words, RichTextFace &face) {
    for (const QString &text : words.split(u' ')) {
        const auto *word = std::find_if(std::begin(kStyleWords), std::end(kStyleWords),
                                        [&](const StyleWord &known) { return known.text == text; });
        if (word == std::end(kStyleWords)) {
            return false;
        }
        face.bold = face.bold || word->bold;
        face.italic = face.italic || word->italic;
    }
    return true;
}

struct Charset {
    int number; ///< as \fcharset counts them
    int codePage;
};

constexpr Charset kCharsets[] = {
    {0, 1252},   {77, 10000}, {78, 10001}, {79, 10003}, {80, 10008}, {81, 10002}, {83, 10005}, {84, 10004},
    {85, 10006}, {86, 10081}, {87, 10021}, {88, 10029}, {89, 10007}, {128, 932},  {129, 949},  {130, 1361},
    {134, 936},  {136, 950},  {161, 1253}, {162, 1254}, {163, 1258}, {177, 1255}, {178, 1256}, {186, 1257},
    {204, 1251}, {222, 874},  {238, 1250}, {254, 437},  {255, 850},
};
// As symbol fonts, one that leaves the choice to the document.
constexpr int kDefaultCharset = 1;

} // namespace

RichTextFace faceOfFontName(const QString &name) {
    if (name.isEmpty() || name.contains(u' ')) {
        return {name.isEmpty() ? QStringList() : QStringList(name)};
    }
    const qsizetype hyphen = name.lastIndexOf(u'-');
    RichTextFace face;
    if (hyphen > 0 && takeStyle(withBlanks(name.sliced(hyphen + 1)), face)) {
        face.families = familiesOf(name.first(hyphen));
        return face;
    }
    return {familiesOf(name)};
}

std::optional<int> codePageOfCharset(int number) {
    if (number == kDefaultCharset || number == kSymbolCharset) {
        return {};
    }
    const auto *charset = std::find_if(std::begin(kCharsets), std::end(kCharsets),
                                       [=](const Charset &row) { return row.number == number; });
    return charset == std::end(kCharsets) ? kUnknownCodePage : charset->codePage;
}

} // namespace kyb
