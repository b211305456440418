#include "text/line_breaks.h"
#include "text/log_viewer_text.h"

#include <QStringList>
#include <gtest/gtest.h>
#include <random>

namespace kyb {
namespace {

QString filtered(const QString &text, const QString &filter) {
    return filterLog(text, LogLines(text), filter);
}

/// The filter, told line by line.
QString filteredSlowly(const QString &text, const QString &filter) {
    QString result;
    for (const QStringView line : splitAtNewlines(text)) {
        if (line.contains(filter)) {
            result.append(u'\n').append(line);
        }
    }
    return result;
}

QStringList pieces(const QString &text) {
    QStringList result;
    for (const QStringView piece : splitAtNewlines(text)) {
        result.append(piece.toString());
    }
    return result;
}

TEST(CombinedLogText, HoldsBothLogsUnderTheirHeadings) {
    EXPECT_EQ(combinedLogText(QStringLiteral("ours\n"), QStringLiteral("theirs\n")),
              QStringLiteral("Wrapper Application Logs:\nours\n\n\n\nInstaller Logs:\ntheirs\n"));
}

TEST(CombinedLogText, EndsAfterTheHeadingWhenNothingWasCaptured) {
    EXPECT_EQ(combinedLogText(QString(), QString()),
              QStringLiteral("Wrapper Application Logs:\n\n\n\nInstaller Logs:\n"));
}

TEST(CombinedLogText, SaysNullWhenThereIsNoCapture) {
    EXPECT_EQ(combinedLogText(QStringLiteral("ours"), std::nullopt),
              QStringLiteral("Wrapper Application Logs:\nours\n\n\nInstaller Logs:\n(null)"));
}

TEST(CombinedLogText, LeavesMarksInTheLogsAlone) {
    EXPECT_EQ(combinedLogText(QStringLiteral("%2 %1 %@"), QStringLiteral("%1")),
              QStringLiteral("Wrapper Application Logs:\n%2 %1 %@\n\n\nInstaller Logs:\n%1"));
}

TEST(SplitAtNewlines, SeparatesAtEachNewlineCharacter) {
    EXPECT_EQ(pieces(QStringLiteral("a\nb\vc\fd\re\u0085f\u2028g\u2029h")),
              QStringList({u"a"_qs, u"b"_qs, u"c"_qs, u"d"_qs, u"e"_qs, u"f"_qs, u"g"_qs, u"h"_qs}));
}

TEST(SplitAtNewlines, KeepsEmptyPieces) {
    EXPECT_EQ(pieces(QStringLiteral("\r\na\n")), QStringList({u""_qs, u""_qs, u"a"_qs, u""_qs}));
    EXPECT_EQ(pieces(QString()), QStringList({u""_qs}));
}

TEST(SplitAtNewlines, TakesNoNeighbourOfANewlineForOne) {
    const QString text = QStringLiteral("\t\u000E\u001F\u0084\u0086\u2027\u202A");
    EXPECT_EQ(pieces(text), QStringList({text}));
}

TEST(FilterLog, ShowsEverythingForFewerThanTwoUnits) {
    const QString text = QStringLiteral("one\ntwo");
    EXPECT_EQ(filtered(text, QString()), text);
    EXPECT_EQ(filtered(text, QStringLiteral("o")), text);
}

TEST(FilterLog, CountsUnitsAndNotCharacters) {
    const QString text = QStringLiteral("a \U0001F5A8 b\nc");
    EXPECT_EQ(filtered(text, QStringLiteral("\U0001F5A8")), QStringLiteral("\na \U0001F5A8 b"));
}

TEST(FilterLog, PutsANewlineBeforeEachMatchingLine) {
    EXPECT_EQ(filtered(QStringLiteral("an error here\nERR\nerr"), QStringLiteral("err")),
              QStringLiteral("\nan error here\nerr"));
}

TEST(FilterLog, ShowsNothingWhenNothingMatches) {
    EXPECT_EQ(filtered(QStringLiteral("one\ntwo"), QStringLiteral("three")), QString());
    EXPECT_EQ(filtered(QString(), QStringLiteral("three")), QString());
    EXPECT_EQ(filtered(QStringLiteral("t"), QStringLiteral("three")), QString());
}

TEST(FilterLog, TakesALineOnceHoweverOftenItMatches) {
    EXPECT_EQ(filtered(QStringLiteral("abab ab\nab"), QStringLiteral("ab")), QStringLiteral("\nabab ab\nab"));
}

TEST(FilterLog, IsLiteral) {
    EXPECT_EQ(filtered(QStringLiteral("a.c\nabc\n[0-9]\n5"), QStringLiteral("a.c")), QStringLiteral("\na.c"));
    EXPECT_EQ(filtered(QStringLiteral("a.c\nabc\n[0-9]\n5"), QStringLiteral("[0-9]")), QStringLiteral("\n[0-9]"));
}

TEST(FilterLog, ReachesNoMatchAcrossLines) {
    EXPECT_EQ(filtered(QStringLiteral("one\ntwo"), QStringLiteral("one\ntwo")), QString());
    EXPECT_EQ(filtered(QStringLiteral("one\r\ntwo"), QStringLiteral("\r\n")), QString());
}

TEST(FilterLog, WritesALineFeedWhateverSeparatedTheLines) {
    EXPECT_EQ(filtered(QStringLiteral("ab1\r\nab2\u2028ab3\vx"), QStringLiteral("ab")),
              QStringLiteral("\nab1\nab2\nab3"));
}

TEST(FilterLog, FindsALineOfTheSizeOfTheFilter) {
    EXPECT_EQ(filtered(QStringLiteral("\nab\n"), QStringLiteral("ab")), QStringLiteral("\nab"));
    EXPECT_EQ(filtered(QStringLiteral("ab"), QStringLiteral("ab")), QStringLiteral("\nab"));
}

TEST(FilterLog, AgreesWithAWalkLineByLine) {
    std::mt19937 random(20240521);
    const QString alphabet = QStringLiteral("aaabbc\n\n\r\u2028\u0085ä");
    for (int round = 0; round < 3000; ++round) {
        QString text(static_cast<qsizetype>(random() % 300), u' ');
        for (QChar &unit : text) {
            unit = alphabet[static_cast<qsizetype>(random() % static_cast<unsigned>(alphabet.size()))];
        }
        QString filter(2 + static_cast<qsizetype>(random() % 4), u' ');
        for (QChar &unit : filter) {
            unit = alphabet[static_cast<qsizetype>(random() % static_cast<unsigned>(alphabet.size()))];
        }
        ASSERT_EQ(filtered(text, filter), filteredSlowly(text, filter)) << round;
    }
}

TEST(MatchCount, CountsTheLinesThatTheFilterHasLeft) {
    const QString text = QStringLiteral("driver\r\nDriver\n\ndrive a driver\u2028dr\n");
    const std::pair<const char *, std::optional<qsizetype>> rows[] = {
        {"", std::nullopt}, {"d", std::nullopt}, {"dr", 3}, {"driver", 2}, {"drive a", 1}, {"DRIVER", 0}, {"\n\n", 0},
    };
    for (const auto &[filter, matches] : rows) {
        const QString typed = QString::fromLatin1(filter);
        EXPECT_EQ(matchCount(typed, filtered(text, typed)), matches) << filter;
    }
}

} // namespace
} // namespace kyb
