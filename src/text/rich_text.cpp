#include "text/rich_text.h"

#include "platform/code_pages.h"
#include "text/rich_text_fonts.h"
#include "text/rich_text_layout.h"
#include "text/rich_text_symbols.h"

#include <QHash>
#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <set>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace kyb {
namespace {

// What a hostile document may cost besides its text. Terms of some pages need a thousandth of it.
constexpr std::size_t kMaxDepth = 512; ///< groups inside groups; deeper ones share the deepest one's state
constexpr qsizetype kMaxPendingBytes = 4 * kMaxRichTextUnits; ///< no character has more than 4
constexpr int kMaxTableRows = 4096;                           ///< fonts, and colours
constexpr qsizetype kMaxFontNameUnits = 64;
constexpr int kMaxHalfPoints = 2 * 400;
constexpr int kMaxTwips = 20 * 72 * 22;     ///< 22 inches, as in word processors
constexpr int kMaxSpaceTwips = 20 * 72 * 2; ///< above and below a paragraph
constexpr double kTwipsPerPoint = 20.0;

constexpr int kOn = 1; ///< of a flag without a number
constexpr int kWesternWindows = 1252;
constexpr int kMacRoman = 10000;
constexpr int kUtf8 = 65001;
constexpr int kWritersOwn = 0; ///< the code page of the machine that wrote the document, which it does not tell

struct Font {
    QString name;
    std::optional<int> codePage; ///< nothing: the document's
    bool hasSymbolCharset = false;
    std::optional<RichTextFace> face; ///< what the name says, once that was asked for
};

bool hasSymbols(const Font &font) {
    return font.hasSymbolCharset && isSymbolFont(font.name.trimmed());
}

/// \p text with every half of a surrogate pair that stands alone replaced.
QString withWholePairs(QString text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            ++i;
        } else if (text[i].isSurrogate()) {
            text[i] = QChar::ReplacementCharacter;
        }
    }
    return text;
}

/// Whether \p unit may stand in a run. What a text view would take for a mark of its own may not.
bool isTextUnit(char16_t unit) {
    constexpr char16_t kObject = 0xFFFC;
    return unit == u'\t' ||
           (QChar(unit).category() != QChar::Other_Control && !QChar::isNonCharacter(unit) && unit != kObject);
}

// How long a paragraph grows until a place to part it is looked for, in steps: at a line break from the first step on,
// at a blank from the second, at a character from the third, and at the fourth, which is the most, anywhere.
constexpr qsizetype kUnitsOfAStep = kMaxParagraphUnits / 4;
constexpr qsizetype kRunsOfAStep = kMaxParagraphRuns / 4;

/// What the reader is given of a document.
enum class Extent { Whole, Beginning };

/// Where the text of a group goes.
enum class Destination {
    Body,
    FontTable,
    ColorTable,
    Superseded, ///< text of the body for readers that do not know the \ud group within it
    Nowhere
};

struct CharacterFormat {
    int font = 0;
    int halfPoints = 24;
    int color = 0;
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool strikeOut = false;
    bool capitals = false;
    bool hidden = false;
    bool deleted = false; ///< taken out by a reviewer, and still in the file

    bool operator==(const CharacterFormat &) const = default;
};

struct ParagraphFormat {
    RichTextAlignment alignment = RichTextAlignment::Left;
    int leftTwips = 0;
    int firstLineTwips = 0;
    int rightTwips = 0;
    int beforeTwips = 0;
    int afterTwips = 0;
};

/// What a group inherits, and what ends with it.
struct State {
    Destination destination = Destination::Body;
    CharacterFormat character;
    ParagraphFormat paragraph;
    int fallbackCharacters = 1; ///< how many stand after a \u for readers that do not know it
};

class Reader {
public:
    Reader(QByteArrayView bytes, Extent extent) : bytes_(bytes), extent_(extent) {}

    RichTextDocument read() {
        while (!done_ && position_ < bytes_.size()) {
            readToken();
        }
        addPendingBytes();
        document_.isCut = document_.isCut || (extent_ == Extent::Beginning && !done_);
        if (!run_.isEmpty() || !paragraph_.runs.isEmpty()) {
            endParagraph();
        }
        if (document_.isCut) {
            runFormat_ = plain_;
            run_ = QStringLiteral("[\u2026]");
            endParagraph();
        }
        return document_;
    }

private:
    struct ControlWord;
    using Face = std::tuple<QStringList, double, bool, bool, QChar::Script>; ///< families, size, bold, italic
    using Handler = void (Reader::*)(int);
    static const ControlWord kControlWords[];
    static const ControlWord *controlWord(std::string_view name);

    // The tokens

    void readToken() {
        const char byte = bytes_[position_++];
        switch (byte) {
        case '{':
            openGroup();
            break;
        case '}':
            closeGroup();
            break;
        case '\\':
            readControl();
            break;
        case '\r':
        case '\n':
            break;
        default:
            addByte(byte);
            break;
        }
    }

    void openGroup() {
        unreadFallback_ = 0;
        if (states_.size() < kMaxDepth) {
            states_.push_back(state());
        } else {
            ++groupsBeyondDepth_;
        }
    }

    void closeGroup() {
        addPendingBytes();
        unreadFallback_ = 0;
        isOptional_ = false;
        if (groupsBeyondDepth_ > 0) {
            --groupsBeyondDepth_;
        } else if (states_.size() > kOutermostStates) {
            states_.pop_back();
        } else {
            done_ = true; // the document's own group
        }
    }

    void readControl() {
        if (position_ == bytes_.size()) {
            return;
        }
        if (isLetter(bytes_[position_])) {
            readControlWord();
        } else {
            readControlSymbol(bytes_[position_++]);
        }
    }

    void readControlWord() {
        const qsizetype begin = position_;
        while (position_ < bytes_.size() && isLetter(bytes_[position_])) {
            ++position_;
        }
        const std::string_view name(bytes_.data() + begin, static_cast<std::size_t>(position_ - begin));
        const std::optional<int> number = readNumber();
        if (position_ < bytes_.size() && bytes_[position_] == ' ') {
            ++position_; // belongs to the word
        }
        obey(name, number);
    }

    /// Reads the number of a control word, if there is one. One that is too large for an int is as large as can be.
    std::optional<int> readNumber() {
        const char *begin = bytes_.constData() + position_;
        int number = 0;
        const auto [end, error] = std::from_chars(begin, bytes_.constData() + bytes_.size(), number);
        position_ += end - begin;
        if (error == std::errc::result_out_of_range) {
            number = *begin == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
        }
        return error == std::errc::invalid_argument ? std::nullopt : std::optional(number);
    }

    void readControlSymbol(char symbol) {
        static constexpr std::string_view kSymbols = "\r\n\t~_-";
        static constexpr char16_t kUnits[] = {0x2029, 0x2029, u'\t', 0x00A0, 0x2011, 0x00AD};
        if (symbol == '\'') {
            readHexByte();
        } else if (symbol == '*') {
            isOptional_ = true;
        } else if (symbol == '\\' || symbol == '{' || symbol == '}') {
            addByte(symbol);
        } else if (const std::size_t row = kSymbols.find(symbol); row != std::string_view::npos) {
            addUnit(kUnits[row]); // ends of paragraphs, a tab, and a blank and hyphens that break as they should
        }
    }

    void readHexByte() {
        const QByteArrayView digits = bytes_.sliced(position_, std::min<qsizetype>(2, bytes_.size() - position_));
        bool isNumber = false;
        const uint byte = digits.toUInt(&isNumber, 16);
        if (digits.size() < 2) {
            position_ = bytes_.size();
        } else if (isNumber) {
            position_ += 2;
            addByte(static_cast<char>(byte));
        }
    }

    void obey(std::string_view name, std::optional<int> number);

    // The text

    /// Bytes wait for those that follow them: a character may have several, and one of them may be a letter in the
    /// file.
    void addByte(char byte) {
        if (!isFallback() && !isLeftOut()) {
            pendingBytes_.append(byte);
        }
        if (pendingBytes_.size() == kMaxPendingBytes) {
            addPendingBytes(); // may part a character, for which there is no room any more
        }
    }

    void addPendingBytes() {
        if (pendingBytes_.isEmpty()) {
            return;
        }
        const QString text = textOf(pendingBytes_);
        pendingBytes_.resize(0); // keeps its memory
        for (qsizetype i = 0; i < text.size() && !done_; ++i) {
            addToDestination(text[i].unicode());
        }
    }

    QString textOf(QByteArrayView bytes) {
        const Font font = fonts_.value(currentFont());
        if (state().destination == Destination::Body && hasSymbols(font)) {
            return fromSymbols(font.name.trimmed(), bytes);
        }
        const int codePage = font.codePage.value_or(codePage_);
        // Writers of UTF-8 leave the charset of their fonts as it was.
        return fromCodePage(codePage_ == kUtf8 && codePage == kWesternWindows ? kUtf8 : codePage, bytes);
    }

    void addUnit(char16_t unit) {
        addPendingBytes();
        if (!isFallback()) {
            addToDestination(unit);
        }
    }

    /// Whether what is read here, a byte or a word, stands for a \u before it; counts it.
    bool isFallback() {
        if (unreadFallback_ == 0) {
            return false;
        }
        --unreadFallback_;
        return true;
    }

    bool isLeftOut() {
        const CharacterFormat &format = state().character;
        return state().destination == Destination::Nowhere || state().destination == Destination::Superseded ||
               (state().destination == Destination::Body && (format.hidden || format.deleted));
    }

    void addToDestination(char16_t unit) {
        if (isLeftOut()) {
            return; // an end of a paragraph as well: what stands around it belongs together
        }
        switch (state().destination) {
        case Destination::Body:
            addToBody(unit);
            break;
        case Destination::FontTable:
            addToFontName(unit);
            break;
        case Destination::ColorTable:
            endColorAt(unit);
            break;
        case Destination::Superseded:
        case Destination::Nowhere:
            break;
        }
    }

    void addToBody(char16_t unit) {
        if (!isTextUnit(unit)) {
            return;
        }
        if (isAtALimit()) {
            cut();
        } else if (unit == QChar::ParagraphSeparator) {
            endParagraph();
        } else {
            addToParagraph(unit);
        }
    }

    bool isAtALimit() const {
        return units_ == kMaxRichTextUnits || pieces_ >= kMaxRichTextPieces || height_ >= kMaxRichTextHeightPoints;
    }

    void addToParagraph(char16_t unit) {
        if (mayPartBefore(unit)) {
            endPart();
        }
        if (!(state().character == runFormat_)) {
            endRun();
            runFormat_ = state().character;
        }
        countTurn(unit);
        run_.append(QChar(unit));
        ++paragraphUnits_;
        ++units_;
    }

    void countTurn(char16_t unit) {
        if (QChar::isHighSurrogate(unit)) {
            return; // the other half tells
        }
        const bool isPair = !run_.isEmpty() && run_.back().isHighSurrogate() && QChar::isLowSurrogate(unit);
        const TextTurn turn = turns_.before(isPair ? QChar::surrogateToUcs4(run_.back().unicode(), unit) : unit);
        paragraphTurns_ += turn == TextTurn::Other ? 1 : 0;
        pieces_ += turn == TextTurn::None ? 0 : 1;
    }

    /// Whether a paragraph that is about to grow too long ends here. The longer it is, the poorer a place will do.
    bool mayPartBefore(char16_t unit) const {
        // One unit and three runs more: so that the second half of a pair has room.
        const qsizetype runs = paragraph_.runs.size() + paragraphTurns_;
        const auto steps = std::max((paragraphUnits_ + 1) / kUnitsOfAStep, (runs + 3) / kRunsOfAStep);
        if (steps == 0 || run_.isEmpty()) {
            return false;
        }
        const QChar last = run_.back();
        const bool isPair = last.isHighSurrogate() && QChar::isLowSurrogate(unit);
        const bool isCharacter = !isPair && !QChar(unit).isMark();
        return last == QChar::LineSeparator || (steps >= 2 && (last == u' ' || last == u'\t')) ||
               (steps >= 3 && isCharacter) || (steps >= 4 && !isPair);
    }

    void endRun() {
        if (run_.isEmpty()) {
            return;
        }
        const RichTextFace face = faceOf(runFormat_.font);
        RichTextRun run{withWholePairs(run_),
                        face.families,
                        runFormat_.halfPoints / 2.0,
                        runFormat_.bold || face.bold,
                        runFormat_.italic || face.italic,
                        runFormat_.underline,
                        runFormat_.strikeOut,
                        runFormat_.capitals,
                        colors_.value(runFormat_.color)};
        run_.clear();
        limitFaces(run);
        paragraph_.runs.append(run);
        ++pieces_;
    }

    void limitFaces(RichTextRun &run) {
        bool isBeyond = false;
        for (const QChar::Script script : scriptsOf(run.text)) {
            const Face face(run.fontFamilies, run.sizePoints, run.bold, run.italic, script);
            if (std::ssize(faces_) < kMaxRichTextFaces) {
                faces_.insert(face);
            }
            isBeyond = isBeyond || !faces_.contains(face);
        }
        if (isBeyond) {
            run.fontFamilies.clear();
            run.sizePoints = RichTextRun().sizePoints;
        }
    }

    RichTextFace faceOf(int number) {
        const auto font = fonts_.find(number);
        if (font == fonts_.end()) {
            return {};
        }
        if (!font->face) {
            font->face = hasSymbols(*font) ? RichTextFace() : faceOfFontName(font->name.trimmed());
        }
        return *font->face;
    }

    void endParagraph() {
        endParagraph(state().paragraph);
        isContinuation_ = false;
    }

    /// Ends the paragraph where it has grown too long. What follows looks like its next line.
    void endPart() {
        if (run_.endsWith(QChar::LineSeparator)) {
            run_.chop(1); // the end of the paragraph is one
        }
        ParagraphFormat format = state().paragraph;
        format.afterTwips = 0;
        endParagraph(format);
        isContinuation_ = true;
    }

    void endParagraph(const ParagraphFormat &format) {
        endRun();
        paragraph_.alignment = format.alignment;
        paragraph_.leftIndentPoints = format.leftTwips / kTwipsPerPoint;
        paragraph_.firstLineIndentPoints = isContinuation_ ? 0 : format.firstLineTwips / kTwipsPerPoint;
        paragraph_.rightIndentPoints = format.rightTwips / kTwipsPerPoint;
        paragraph_.spaceBeforePoints = isContinuation_ ? 0 : format.beforeTwips / kTwipsPerPoint;
        paragraph_.spaceAfterPoints = format.afterTwips / kTwipsPerPoint;
        height_ += shownHeight(paragraph_);
        document_.paragraphs.append(paragraph_);
        paragraph_ = {};
        paragraphUnits_ = 0;
        paragraphTurns_ = 0;
        turns_ = {};
        ++pieces_;
    }

    void cut() {
        done_ = true;
        document_.isCut = true;
    }

    void addToFontName(char16_t unit) {
        if (unit == u';' || fonts_.size() > kMaxTableRows) {
            return; // the next \f begins the next font
        }
        QString &name = fonts_[tableFont_].name;
        if (name.size() < kMaxFontNameUnits && isTextUnit(unit)) {
            name.append(QChar(unit));
        }
    }

    void endColorAt(char16_t unit) {
        if (unit == u';' && colors_.size() < kMaxTableRows) {
            colors_.append(tableColor_);
            tableColor_.reset();
        }
    }

    // The control words

    void setDestination(Destination destination) { state().destination = destination; }
    void beginFontTable(int) { setDestination(Destination::FontTable); }
    void beginColorTable(int) { setDestination(Destination::ColorTable); }
    void skipGroup(int) { setDestination(Destination::Nowhere); }
    void nothing(int) {}

    void beginSuperseded(int) {
        if (state().destination == Destination::Body) {
            setDestination(Destination::Superseded);
        }
    }

    void endSuperseded(int) {
        if (state().destination == Destination::Superseded) {
            setDestination(Destination::Body);
        } else if (state().destination != Destination::Body) {
            skipGroup(0);
        }
    }

    void setCodePage(int number) { codePage_ = number == kWritersOwn ? kWesternWindows : number; }
    void setDefaultFont(int number) { plain_.font = state().character.font = number; }

    void setFont(int number) {
        if (state().destination == Destination::FontTable) {
            tableFont_ = number;
            fonts_.remove(number);
        } else {
            state().character.font = number;
        }
    }

    void setCharset(int number) {
        if (state().destination != Destination::FontTable || fonts_.size() > kMaxTableRows) {
            return;
        }
        fonts_[tableFont_].codePage = codePageOfCharset(number);
        fonts_[tableFont_].hasSymbolCharset = number == kSymbolCharset;
    }

    void setFontCodePage(int number) {
        if (state().destination == Destination::FontTable && fonts_.size() <= kMaxTableRows) {
            fonts_[tableFont_].codePage = number == kWritersOwn ? std::nullopt : std::optional(number);
        }
    }

    template <int Shift> void setColorPart(int value) {
        const auto part = static_cast<quint32>(std::clamp(value, 0, 255)) << Shift;
        tableColor_ = (tableColor_.value_or(0) & ~(quint32{0xFF} << Shift)) | part;
    }

    template <bool CharacterFormat::*Flag> void setFlag(int value) { state().character.*Flag = value != 0; }
    void setSize(int halfPoints) { state().character.halfPoints = std::clamp(halfPoints, 1, kMaxHalfPoints); }
    void setColor(int number) { state().character.color = number; }
    void resetCharacters(int) { state().character = plain_; }

    void setAlignment(int value) { state().paragraph.alignment = static_cast<RichTextAlignment>(value); }
    template <int ParagraphFormat::*Length, int Least, int Most = kMaxTwips> void setLength(int twips) {
        state().paragraph.*Length = std::clamp(twips, Least, Most);
    }
    void resetParagraph(int) { state().paragraph = {}; }

    void insert(int unit) { addUnit(static_cast<char16_t>(unit)); }

    void breakPage(int) {
        if (!run_.isEmpty() || !paragraph_.runs.isEmpty()) {
            addUnit(QChar::ParagraphSeparator);
        }
    }

    void setFallback(int characters) { state().fallbackCharacters = std::max(characters, 0); }

    void insertUnicode(int value) {
        for (const QChar unit : unicodeText(value < 0 ? qint64{value} + 0x10000 : value)) {
            addUnit(unit.unicode());
        }
        unreadFallback_ = state().fallbackCharacters;
    }

    QString unicodeText(qint64 code) {
        constexpr qint64 kSymbols = 0xF000; // where the bytes of symbol fonts stand in Unicode
        const char byte = static_cast<char>(code & 0xFF);
        if (code < 0 || code > QChar::LastValidCodePoint) {
            return QChar(QChar::ReplacementCharacter);
        }
        if (code - kSymbols == static_cast<uchar>(byte) && hasSymbols(fonts_.value(currentFont()))) {
            return textOf(QByteArrayView(&byte, 1));
        }
        const auto character = static_cast<char32_t>(code);
        return QString::fromUcs4(&character, 1);
    }

    void skipBinary(int count) { position_ += std::clamp<qsizetype>(count, 0, bytes_.size() - position_); }

    static bool isLetter(char byte) { return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z'); }

    State &state() { return states_.back(); }
    int currentFont() { return state().destination == Destination::FontTable ? tableFont_ : state().character.font; }

    /// Outside every group, and in the document's own.
    static constexpr std::size_t kOutermostStates = 2;

    QByteArrayView bytes_;
    Extent extent_;
    qsizetype position_ = 0;
    bool done_ = false;
    bool isOptional_ = false; ///< after \*: what begins here is for those who know it
    int unreadFallback_ = 0;  ///< characters still to be passed over after a \u

    std::vector<State> states_ = {State()};
    qint64 groupsBeyondDepth_ = 0;

    CharacterFormat plain_;
    int codePage_ = kWesternWindows;
    QByteArray pendingBytes_; ///< of one destination and font; not yet read as text
    QHash<int, Font> fonts_;
    int tableFont_ = 0;
    QVector<std::optional<quint32>> colors_;
    std::optional<quint32> tableColor_;
    std::set<Face> faces_;

    RichTextDocument document_;
    RichTextParagraph paragraph_; ///< the runs that have ended
    QString run_;
    CharacterFormat runFormat_;
    bool isContinuation_ = false; ///< the paragraph is a later part of one that has grown too long
    TextTurns turns_;
    qsizetype paragraphTurns_ = 0;
    qsizetype paragraphUnits_ = 0;
    qsizetype units_ = 0;
    qsizetype pieces_ = 0;
    double height_ = 0.0;
};

enum class Number {
    Given, ///< the number in the text counts; the row's, when there is none
    Fixed, ///< the row's number counts
};

struct Reader::ControlWord {
    std::string_view name;
    Handler handler;
    int number = 0;
    Number which = Number::Fixed;
};

// clang-format off
constexpr Reader::ControlWord Reader::kControlWords[] = {
    {"aftncn",       &Reader::skipGroup},
    {"aftnsep",      &Reader::skipGroup},
    {"aftnsepc",     &Reader::skipGroup},
    {"annotation",   &Reader::skipGroup},
    {"ansi",         &Reader::setCodePage, kWesternWindows},
    {"ansicpg",      &Reader::setCodePage, kWesternWindows, Number::Given},
    {"atnauthor",    &Reader::skipGroup},
    {"atndate",      &Reader::skipGroup},
    {"atnicn",       &Reader::skipGroup},
    {"atnid",        &Reader::skipGroup},
    {"atnparent",    &Reader::skipGroup},
    {"atnref",       &Reader::skipGroup},
    {"atntime",      &Reader::skipGroup},
    {"atrfend",      &Reader::skipGroup},
    {"atrfstart",    &Reader::skipGroup},
    {"b",            &Reader::setFlag<&CharacterFormat::bold>, kOn, Number::Given},
    {"bin",          &Reader::skipBinary, 0, Number::Given},
    {"bkmkend",      &Reader::skipGroup},
    {"bkmkstart",    &Reader::skipGroup},
    {"blue",         &Reader::setColorPart<0>, 0, Number::Given},
    {"bullet",       &Reader::insert, 0x2022},
    {"caps",         &Reader::setFlag<&CharacterFormat::capitals>, kOn, Number::Given},
    {"cell",         &Reader::insert, u'\t'},
    {"cf",           &Reader::setColor, 0, Number::Given},
    {"colortbl",     &Reader::beginColorTable},
    {"column",       &Reader::breakPage},
    {"comment",      &Reader::skipGroup},
    {"cpg",          &Reader::setFontCodePage, kUnknownCodePage, Number::Given},
    {"datastore",    &Reader::skipGroup},
    {"deff",         &Reader::setDefaultFont, 0, Number::Given},
    {"deleted",      &Reader::setFlag<&CharacterFormat::deleted>, kOn, Number::Given},
    {"emdash",       &Reader::insert, 0x2014},
    {"emspace",      &Reader::insert, 0x2003},
    {"endash",       &Reader::insert, 0x2013},
    {"enspace",      &Reader::insert, 0x2002},
    {"f",            &Reader::setFont, 0, Number::Given},
    {"falt",         &Reader::skipGroup},
    {"fcharset",     &Reader::setCharset, 0, Number::Given},
    {"fi",           &Reader::setLength<&ParagraphFormat::firstLineTwips, -kMaxTwips>, 0, Number::Given},
    {"filetbl",      &Reader::skipGroup},
    {"fldinst",      &Reader::skipGroup},
    {"fname",        &Reader::skipGroup},
    {"fonttbl",      &Reader::beginFontTable},
    {"footer",       &Reader::skipGroup},
    {"footerf",      &Reader::skipGroup},
    {"footerl",      &Reader::skipGroup},
    {"footerr",      &Reader::skipGroup},
    {"footnote",     &Reader::skipGroup},
    {"formfield",    &Reader::skipGroup},
    {"fs",           &Reader::setSize, 24, Number::Given},
    {"ftncn",        &Reader::skipGroup},
    {"ftnsep",       &Reader::skipGroup},
    {"ftnsepc",      &Reader::skipGroup},
    {"generator",    &Reader::skipGroup},
    {"green",        &Reader::setColorPart<8>, 0, Number::Given},
    {"header",       &Reader::skipGroup},
    {"headerf",      &Reader::skipGroup},
    {"headerl",      &Reader::skipGroup},
    {"headerr",      &Reader::skipGroup},
    {"i",            &Reader::setFlag<&CharacterFormat::italic>, kOn, Number::Given},
    {"info",         &Reader::skipGroup},
    {"lbr",          &Reader::insert, 0x2028},
    {"ldblquote",    &Reader::insert, 0x201C},
    {"li",           &Reader::setLength<&ParagraphFormat::leftTwips, -kMaxTwips>, 0, Number::Given},
    {"line",         &Reader::insert, 0x2028},
    {"listoverridetable", &Reader::skipGroup},
    {"listtable",    &Reader::skipGroup},
    {"listtext",     &Reader::nothing},
    {"lquote",       &Reader::insert, 0x2018},
    {"ltrmark",      &Reader::insert, 0x200E},
    {"mac",          &Reader::setCodePage, kMacRoman},
    {"mvf",          &Reader::setFlag<&CharacterFormat::deleted>, kOn, Number::Given},
    {"nestcell",     &Reader::insert, u'\t'},
    {"nestrow",      &Reader::insert, 0x2029},
    {"nesttableprops", &Reader::nothing},
    {"nonesttables", &Reader::skipGroup},
    {"nonshppict",   &Reader::skipGroup},
    {"object",       &Reader::skipGroup},
    {"page",         &Reader::breakPage},
    {"panose",       &Reader::skipGroup},
    {"par",          &Reader::insert, 0x2029},
    {"pard",         &Reader::resetParagraph},
    {"pc",           &Reader::setCodePage, 437},
    {"pca",          &Reader::setCodePage, 850},
    {"pgdsctbl",     &Reader::skipGroup},
    {"pict",         &Reader::skipGroup},
    {"plain",        &Reader::resetCharacters},
    {"pntext",       &Reader::nothing},
    {"pntxta",       &Reader::skipGroup},
    {"pntxtb",       &Reader::skipGroup},
    {"private",      &Reader::skipGroup},
    {"qc",           &Reader::setAlignment, static_cast<int>(RichTextAlignment::Center)},
    {"qj",           &Reader::setAlignment, static_cast<int>(RichTextAlignment::Justified)},
    {"ql",           &Reader::setAlignment, static_cast<int>(RichTextAlignment::Left)},
    {"qmspace",      &Reader::insert, 0x2005},
    {"qr",           &Reader::setAlignment, static_cast<int>(RichTextAlignment::Right)},
    {"rdblquote",    &Reader::insert, 0x201D},
    {"red",          &Reader::setColorPart<16>, 0, Number::Given},
    {"revtbl",       &Reader::skipGroup},
    {"ri",           &Reader::setLength<&ParagraphFormat::rightTwips, -kMaxTwips>, 0, Number::Given},
    {"row",          &Reader::insert, 0x2029},
    {"rquote",       &Reader::insert, 0x2019},
    {"rsidtbl",      &Reader::skipGroup},
    {"rtlmark",      &Reader::insert, 0x200F},
    {"sa",           &Reader::setLength<&ParagraphFormat::afterTwips, 0, kMaxSpaceTwips>, 0, Number::Given},
    {"sb",           &Reader::setLength<&ParagraphFormat::beforeTwips, 0, kMaxSpaceTwips>, 0, Number::Given},
    {"sect",         &Reader::breakPage},
    {"shpgrp",       &Reader::nothing},
    {"shpinst",      &Reader::nothing},
    {"shprslt",      &Reader::skipGroup},
    {"shptxt",       &Reader::breakPage},
    {"sp",           &Reader::skipGroup},
    {"strike",       &Reader::setFlag<&CharacterFormat::strikeOut>, kOn, Number::Given},
    {"striked",      &Reader::setFlag<&CharacterFormat::strikeOut>, kOn, Number::Given},
    {"stylesheet",   &Reader::skipGroup},
    {"tab",          &Reader::insert, u'\t'},
    {"tc",           &Reader::skipGroup},
    {"tcn",          &Reader::skipGroup},
    {"template",     &Reader::skipGroup},
    {"themedata",    &Reader::skipGroup},
    {"u",            &Reader::insertUnicode, 0, Number::Given},
    {"uc",           &Reader::setFallback, 1, Number::Given},
    {"ud",           &Reader::endSuperseded},
    {"ul",           &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"uld",          &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"uldash",       &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"uldashd",      &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"uldashdd",     &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"uldb",         &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"ulhwave",      &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"ulldash",      &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"ulnone",       &Reader::setFlag<&CharacterFormat::underline>, 0},
    {"ulth",         &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"ulthd",        &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"ulthdash",     &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"ulthdashd",    &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"ulthdashdd",   &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"ulthldash",    &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"ululdbwave",   &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"ulw",          &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"ulwave",       &Reader::setFlag<&CharacterFormat::underline>, kOn, Number::Given},
    {"upr",          &Reader::beginSuperseded},
    {"userprops",    &Reader::skipGroup},
    {"v",            &Reader::setFlag<&CharacterFormat::hidden>, kOn, Number::Given},
    {"xe",           &Reader::skipGroup},
    {"xmlname",      &Reader::skipGroup},
    {"xmlnstbl",     &Reader::skipGroup},
    {"zwj",          &Reader::insert, 0x200D},
    {"zwnj",         &Reader::insert, 0x200C},
};
// clang-format on

const Reader::ControlWord *Reader::controlWord(std::string_view name) {
    constexpr auto isBefore = [](const ControlWord &a, const ControlWord &b) { return a.name < b.name; };
    static_assert(std::is_sorted(std::begin(kControlWords), std::end(kControlWords), isBefore));
    const auto *row =
        std::lower_bound(std::begin(kControlWords), std::end(kControlWords), ControlWord{name, nullptr}, isBefore);
    return row != std::end(kControlWords) && row->name == name ? row : nullptr;
}

void Reader::obey(std::string_view name, std::optional<int> number) {
    const bool wasOptional = std::exchange(isOptional_, false);
    const ControlWord *word = controlWord(name);
    const bool isBinary = word && word->handler == &Reader::skipBinary;
    addPendingBytes();
    if (!isBinary && isFallback()) {
        return; // a word counts as a character
    }
    if (!word) {
        if (wasOptional) {
            skipGroup(0);
        }
        return;
    }
    if (isBinary || state().destination != Destination::Nowhere) {
        (this->*word->handler)(word->which == Number::Given ? number.value_or(word->number) : word->number);
    }
}

qsizetype blanksBefore(QByteArrayView text) {
    const auto isBlank = [](char byte) { return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n'; };
    return std::find_if_not(text.begin(), text.end(), isBlank) - text.begin();
}

} // namespace

RichTextDocument parseRichText(const QByteArray &bytes) {
    constexpr QByteArrayView kByteOrderMark("\xEF\xBB\xBF"); // editors put it before what they saved as UTF-8
    const Extent extent = bytes.size() > kMaxRichTextBytes ? Extent::Beginning : Extent::Whole;
    QByteArrayView document = QByteArrayView(bytes).first(std::min(bytes.size(), kMaxRichTextBytes));
    if (document.startsWith(kByteOrderMark)) {
        document = document.sliced(kByteOrderMark.size());
    }
    document = document.sliced(blanksBefore(document));
    return document.startsWith("{\\rtf") ? Reader(document, extent).read() : RichTextDocument();
}

QString plainText(const RichTextDocument &document) {
    QString text;
    for (qsizetype i = 0; i < document.paragraphs.size(); ++i) {
        if (i > 0) {
            text.append(u'\n');
        }
        for (const RichTextRun &run : document.paragraphs[i].runs) {
            text.append(run.text);
        }
    }
    return text.replace(QChar::LineSeparator, u'\n');
}

} // namespace kyb
