#include "ui/views/row_index.h"

#include <QString>
#include <QStringList>
#include <gtest/gtest.h>

using kyb::RowIndex;

namespace {

QStringList rowsOf(const QString &text) {
    const RowIndex index(text);
    QStringList rows;
    for (qsizetype number = 0; number < index.rowCount(); ++number) {
        rows.append(text.mid(index.row(number).start, index.row(number).length));
    }
    return rows;
}

TEST(RowIndex, ATextAlwaysHasARow) {
    EXPECT_EQ(rowsOf(QString()), QStringList{QString()});
    EXPECT_EQ(rowsOf(QStringLiteral("a")), QStringList{QStringLiteral("a")});
    EXPECT_EQ(RowIndex().rowCount(), 1);
}

TEST(RowIndex, EveryNewlineCharacterSeparates) {
    const QString text = QStringLiteral("a\nb\rc\vd\fe\u0085f\u2028g\u2029h\ti\u2027j\u202Ak");
    EXPECT_EQ(rowsOf(text).size(), 8);
    EXPECT_EQ(rowsOf(text).last(), QStringLiteral("h\ti\u2027j\u202Ak"));
}

TEST(RowIndex, CarriageReturnAndLineFeedGiveAnEmptyRowBetween) {
    EXPECT_EQ(rowsOf(QStringLiteral("a\r\nb")), (QStringList{QStringLiteral("a"), QString(), QStringLiteral("b")}));
}

TEST(RowIndex, ASeparatorAtTheEndGivesAnEmptyLastRow) {
    EXPECT_EQ(rowsOf(QStringLiteral("a\n")), (QStringList{QStringLiteral("a"), QString()}));
    EXPECT_EQ(rowsOf(QStringLiteral("\n")), (QStringList{QString(), QString()}));
}

TEST(RowIndex, FindsEachRowOfATextOfManyBlocks) {
    QString text;
    QStringList expected;
    for (int number = 0; number < 1000; ++number) {
        expected.append(QString(number % 71, QChar(u'a' + number % 26)));
    }
    text = expected.join(u'\n');
    EXPECT_EQ(rowsOf(text), expected);
    const RowIndex index(text);
    EXPECT_EQ(index.longestRow(), 70);
    for (qsizetype number = 0; number < index.rowCount(); ++number) {
        const kyb::TextRow row = index.row(number);
        EXPECT_EQ(index.rowAt(row.start), number);
        EXPECT_EQ(index.rowAt(row.end()), number);
    }
}

TEST(RowIndex, NumbersAndOffsetsBeyondTheTextAreBroughtIntoIt) {
    const QString text = QStringLiteral("a\nb");
    const RowIndex index(text);
    EXPECT_EQ(index.row(-5), index.row(0));
    EXPECT_EQ(index.row(99), index.row(1));
    EXPECT_EQ(index.rowAt(-1), 0);
    EXPECT_EQ(index.rowAt(100), 1);
}

TEST(RowIndex, ALongLineGoesOnInFurtherRows) {
    const qsizetype most = RowIndex::kMaxRowUnits;
    EXPECT_EQ(rowsOf(QString(most, u'x')).size(), 1);
    EXPECT_EQ(rowsOf(QString(most, u'x') + u'\n').size(), 2);
    const QString text = QString(2 * most + 1, u'x') + u'\n' + u'y';
    const QStringList rows = rowsOf(text);
    ASSERT_EQ(rows.size(), 4);
    EXPECT_EQ(rows[0].size(), most);
    EXPECT_EQ(rows[2].size(), 1);
    EXPECT_EQ(rows[3], QStringLiteral("y"));
    const RowIndex index(text);
    EXPECT_TRUE(index.row(0).endsWithinLine());
    EXPECT_FALSE(index.row(2).endsWithinLine());
    EXPECT_EQ(index.rowAt(most), 1);
}

TEST(RowIndex, ABreakWithinALinePartsNoCharacter) {
    const qsizetype most = RowIndex::kMaxRowUnits;
    const QString pairs = QString(most - 1, u'x') + QStringLiteral("\U0001F600\U0001F600");
    EXPECT_EQ(rowsOf(pairs).first().size(), most - 1);
    const QString half = QString(most - 1, u'x') + QChar(0xD83D) + u'y';
    EXPECT_EQ(rowsOf(half).first().size(), most) << "a half without the other is none";
    const QString marked = QString(most - 1, u'x') + QStringLiteral("e\u0301\u0302z");
    EXPECT_EQ(rowsOf(marked).first().size(), most - 1);
    const QString manyMarks = QString(most - 33, u'x') + QStringLiteral("\U0001F600") + QString(40, QChar(0x301));
    EXPECT_EQ(rowsOf(manyMarks).first().size(), most - 33);
    EXPECT_EQ(rowsOf(QString(5 * most, QChar(0x301))).join(QString()).size(), 5 * most);
}

TEST(RowIndex, TheRowsAreTheWholeText) {
    const QString text = QString(3000, u'x') + QStringLiteral("\r\n\n") + QString(100, u'\n') + QString(40, u'y');
    const RowIndex index(text);
    qsizetype expected = 0;
    for (qsizetype number = 0; number < index.rowCount(); ++number) {
        EXPECT_EQ(index.row(number).start, expected);
        expected = index.row(number).next;
    }
    EXPECT_EQ(expected, text.size() + 1);
}

TEST(RowIndex, TakesLittleMemoryWhateverTheText) {
    for (const QString &text : {QString(1'000'000, u'\n'), QString(1'000'000, u'x')}) {
        EXPECT_LE(double(RowIndex(text).memoryBytes()), 0.1 * double(text.size() * 2));
    }
}

} // namespace
