#include "text/string_table.h"

#include "text/next_step.h"

#include <QStringDecoder>
#include <optional>
#include <string_view>

namespace kyb {
namespace {

bool isBlank(char16_t unit) {
    return QChar::isSpace(unit);
}

bool isLineEnd(char16_t unit) {
    return unit == u'\n' || unit == u'\r';
}

bool isQuote(char16_t unit) {
    return unit == u'"' || unit == u'\'';
}

bool isWordUnit(char16_t unit) {
    return QChar::isLetterOrNumber(unit) || QStringView(u"_$/:.-").contains(QChar(unit));
}

/// The value of a hexadecimal digit, or -1.
int digitValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') {
        return unit - u'0';
    }
    const char16_t lower = unit | 0x20;
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

class Reader {
public:
    explicit Reader(const QString &text) : text_(text), lastCommentClose_(text.lastIndexOf(u"*/")) {}

    StringTable read() {
        StringTable table;
        for (skipBlanks(); !atEnd(); skipBlanks()) {
            const qsizetype begin = position_;
            lineAfterBegin_.reset();
            if (const QString problem = readEntry(table.entries); !problem.isNull()) {
                table.errors.append({lineAt(begin), problem});
                skipToLineAfterBegin();
            }
        }
        return table;
    }

private:
    /// Reads one entry and its ";". Returns what is wrong with it, or null.
    QString readEntry(QHash<QString, QString> &entries) {
        const std::optional<QString> key = readText();
        if (!key) {
            return problem(u"a key");
        }
        std::optional<QString> value = key;
        skipBlanks();
        if (take(u'=')) {
            skipBlanks();
            value = readText();
            if (!value) {
                return problem(u"a value");
            }
            skipBlanks();
        }
        if (!take(u';')) {
            return problem(u"\";\"");
        }
        entries.insert(*key, *value);
        return {};
    }

    QString problem(QStringView expected) const {
        if (startsComment()) {
            return QStringLiteral("The comment has no end.");
        }
        if (atEnd()) {
            return QStringLiteral("The file ends where %1 is expected.").arg(expected);
        }
        return QStringLiteral("There is \"%1\" where %2 is expected.").arg(QChar(unit())).arg(expected);
    }

    /// Reads a quoted text or a word. Nothing when there is neither, or when the quote has no end.
    std::optional<QString> readText() {
        if (atEnd() || startsComment()) {
            return {};
        }
        return isQuote(unit()) ? readQuoted() : readWord();
    }

    std::optional<QString> readWord() {
        const qsizetype begin = position_;
        while (!atEnd() && isWordUnit(unit())) {
            ++position_;
        }
        if (position_ == begin) {
            return {};
        }
        return text_.sliced(begin, position_ - begin).toString();
    }

    std::optional<QString> readQuoted() {
        const char16_t quote = next();
        QString result;
        while (!atEnd()) {
            const char16_t read = next();
            if (read == quote) {
                return result;
            }
            if (read != u'\\') {
                result.append(QChar(read));
            } else if (!atEnd()) {
                result.append(readEscape());
            }
        }
        return {};
    }

    QChar readEscape() {
        constexpr std::u16string_view kLetters = u"abfnrtv";
        constexpr std::u16string_view kMeanings = u"\a\b\f\n\r\t\v";
        const char16_t letter = next();
        if (const std::size_t i = kLetters.find(letter); i != std::u16string_view::npos) {
            return kMeanings[i];
        }
        if (letter == u'U' || letter == u'u') {
            return readNumber(16, 4).value_or(letter);
        }
        --position_;
        const std::optional<char16_t> octal = readNumber(8, 3);
        if (!octal) {
            return next(); // stands for itself
        }
        const uint code = *octal & 0xFFu;
        return code < 0x80 ? QChar(code) : QChar(kNextStep[code - 0x80]);
    }

    std::optional<char16_t> readNumber(int base, int mostDigits) {
        std::optional<char16_t> number;
        for (int i = 0; i < mostDigits && !atEnd(); ++i) {
            const int digit = digitValue(unit());
            if (digit < 0 || digit >= base) {
                break;
            }
            number = static_cast<char16_t>(number.value_or(0) * base + digit);
            ++position_;
        }
        return number;
    }

    /// Passes over blanks and comments. Stops before a comment that has no end.
    void skipBlanks() {
        while (!atEnd()) {
            if (isBlank(unit())) {
                next();
            } else if (text_.sliced(position_).startsWith(u"//")) {
                skipLine();
            } else if (startsComment() && position_ + 2 <= lastCommentClose_) {
                position_ = text_.indexOf(u"*/", position_ + 2) + 2;
            } else {
                return;
            }
        }
    }

    void skipLine() {
        while (!atEnd() && !isLineEnd(unit())) {
            ++position_;
        }
    }

    // NB: that line may have been passed long before: a text without its closing quote runs on to the next quote.
    void skipToLineAfterBegin() {
        if (!lineAfterBegin_) {
            skipLine();
        } else {
            position_ = *lineAfterBegin_;
        }
    }

    int lineAt(qsizetype position) {
        for (; countedTo_ < position; ++countedTo_) {
            const bool isCrLf = text_[countedTo_] == u'\r' && text_.sliced(countedTo_ + 1).startsWith(u'\n');
            line_ += isLineEnd(text_[countedTo_].unicode()) && !isCrLf ? 1 : 0;
        }
        return line_;
    }

    bool atEnd() const { return position_ == text_.size(); }
    bool startsComment() const { return text_.sliced(position_).startsWith(u"/*"); }
    char16_t unit() const { return text_[position_].unicode(); }

    char16_t next() {
        const char16_t read = text_[position_++].unicode();
        if (isLineEnd(read) && !lineAfterBegin_) {
            lineAfterBegin_ = position_;
        }
        return read;
    }

    bool take(char16_t expected) {
        const bool isThere = !atEnd() && unit() == expected;
        position_ += isThere ? 1 : 0;
        return isThere;
    }

    const QStringView text_;
    const qsizetype lastCommentClose_; ///< where the last "*/" stands, or -1
    qsizetype position_ = 0;
    std::optional<qsizetype> lineAfterBegin_; ///< once it is passed: the line after the one where the entry begins
    qsizetype countedTo_ = 0;                 ///< line ends up to here are counted in line_
    int line_ = 1;
};

/// What a placeholder of a format spells: "@" or "2$@".
struct Placeholder {
    qsizetype units = 0;               ///< 0: it is none
    std::optional<qsizetype> argument; ///< the argument that it names; the first is 0
};

Placeholder readPlaceholder(QStringView text) {
    if (text.startsWith(u'@')) {
        return {1, {}};
    }
    constexpr qsizetype kMostDigits = 3;
    qsizetype digits = 0;
    while (digits < qMin(text.size(), kMostDigits) && text[digits] >= u'0' && text[digits] <= u'9') {
        ++digits;
    }
    const int number = text.first(digits).toInt();
    if (number < 1 || !text.sliced(digits).startsWith(u"$@")) {
        return {};
    }
    return {digits + 2, number - 1};
}

} // namespace

StringTable parseStringTable(const QByteArray &bytes) {
    QStringDecoder decoder(QStringConverter::encodingForData(bytes).value_or(QStringConverter::Utf8));
    const QString text = decoder(bytes);
    StringTable table = Reader(text).read();
    if (decoder.hasError()) {
        const qsizetype place = text.indexOf(QChar::ReplacementCharacter);
        const auto line = static_cast<int>(text.first(std::max<qsizetype>(place, 0)).count(u'\n')) + 1;
        table.errors.prepend({line, QStringLiteral("There is a byte that stands for no character.")});
    }
    return table;
}

QString lookUp(const QHash<QString, QString> &entries, const QString &key) {
    return entries.value(key, key);
}

QString formatWithoutArguments(const QString &format) {
    return QString(format).replace(QStringLiteral("%%"), QStringLiteral("%"));
}

QString formatWithArguments(const QString &format, const QStringList &arguments) {
    const QStringView text = format;
    QString result;
    qsizetype nextArgument = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QStringView rest = text.sliced(i + 1);
        if (text[i] != u'%') {
            result.append(text[i]);
        } else if (rest.startsWith(u'%')) {
            result.append(u'%');
            ++i;
        } else if (const Placeholder placeholder = readPlaceholder(rest); placeholder.units > 0) {
            result.append(arguments.value(placeholder.argument ? *placeholder.argument : nextArgument++,
                                          QStringLiteral("(null)")));
            i += placeholder.units;
        } else {
            result.append(u'%');
        }
    }
    return result;
}

} // namespace kyb
