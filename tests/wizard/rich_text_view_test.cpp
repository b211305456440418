#include "WizardTest.h"

#include "text/rich_text.h"
#include "text/rich_text_layout.h"
#include "ui/wizard/RichTextView.h"
#include "ui/wizard/colors.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextLayout>
#include <QWheelEvent>

namespace {

class TermsView : public WizardTest {
protected:
    kyb::RichTextView &view = object<kyb::RichTextView>("licenseTextView");

    void show(const QByteArray &rtf) { control<kyb::RichText>("licenseTextView").setRichText(kyb::parseRichText(rtf)); }
    QTextCharFormat formatAt(int position) const {
        QTextCursor cursor(view.document());
        cursor.setPosition(position + 1);
        return cursor.charFormat();
    }
};

TEST_F(TermsView, ShowsStylesAndParagraphs) {
    show("{\\rtf1\\ansi\\fs28 A\\b B\\b0\\i C\\i0\\ul\\strike D\\par\\qc\\fs20 E}");
    EXPECT_EQ(control<kyb::RichText>("licenseTextView").text().toStdString(), "ABCD\nE");
    EXPECT_EQ(formatAt(0).fontPointSize(), 14);
    EXPECT_EQ(formatAt(0).fontWeight(), int(QFont::Normal));
    EXPECT_EQ(formatAt(1).fontWeight(), int(QFont::Bold));
    EXPECT_TRUE(formatAt(2).fontItalic());
    EXPECT_TRUE(formatAt(3).fontUnderline());
    EXPECT_FALSE(formatAt(2).fontStrikeOut());
    EXPECT_TRUE(formatAt(3).fontStrikeOut());
    EXPECT_EQ(view.document()->lastBlock().blockFormat().alignment(), Qt::AlignHCenter);
}

TEST_F(TermsView, ShowsCapitals) {
    show("{\\rtf1 a\\caps b}");
    EXPECT_EQ(formatAt(0).fontCapitalization(), QFont::MixedCase);
    EXPECT_EQ(formatAt(1).fontCapitalization(), QFont::AllUppercase);
    EXPECT_EQ(control<kyb::RichText>("licenseTextView").text().toStdString(), "ab");
}

TEST_F(TermsView, TakesTheFirstFamilyThatTheMachineHas) {
    const QString known = QFontInfo(view.QWidget::font()).family();
    show("{\\rtf1{\\fonttbl\\f0 TimesNewRomanPS-BoldMT;\\f1 " + known.toUtf8() + ";}\\f0 A\\f1 B}");
    EXPECT_EQ(formatAt(0).fontFamilies().toStringList(),
              QStringList({u"TimesNewRomanPS"_qs, u"Times New Roman PS"_qs, u"Times New Roman"_qs}));
    EXPECT_EQ(formatAt(0).fontWeight(), int(QFont::Bold));
    EXPECT_EQ(QFontInfo(formatAt(1).font()).family(), known);
}

TEST_F(TermsView, ANewTextReplacesTheOldOne) {
    show("{\\rtf1 old\\par old}");
    show("{\\rtf1 new}");
    EXPECT_EQ(control<kyb::RichText>("licenseTextView").text().toStdString(), "new");
    control<kyb::RichText>("licenseTextView").setText(QStringLiteral("License file missing!"));
    EXPECT_EQ(control<kyb::RichText>("licenseTextView").text().toStdString(), "License file missing!");
    goDark();
    EXPECT_EQ(control<kyb::RichText>("licenseTextView").text().toStdString(), "License file missing!");
}

TEST_F(TermsView, IsForReadingOnly) {
    EXPECT_TRUE(view.isReadOnly());
    EXPECT_FALSE(view.isUndoRedoEnabled());
    EXPECT_EQ(view.textInteractionFlags(), Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    EXPECT_EQ(view.cursorWidth(), 0);
    EXPECT_EQ(view.document()->documentMargin(), 12);
}

TEST_F(TermsView, BeginsAtItsBegin) {
    view.setText(QStringLiteral("earlier"));
    view.moveCursor(QTextCursor::End);
    show("{\\rtf1 one\\par two}");
    EXPECT_EQ(view.textCursor().position(), 0);
}

TEST_F(TermsView, KeepsEveryMeasureOfAParagraph) {
    show("{\\rtf1\\qj\\li720\\fi-360\\ri100\\sb200\\sa30\\tab a\\par\\pard\\qr\\fi360 b}");
    const double pixelsPerPoint = view.logicalDpiY() / 72.0;
    const QTextBlockFormat first = view.document()->firstBlock().blockFormat();
    EXPECT_EQ(first.alignment(), Qt::AlignJustify);
    EXPECT_EQ(first.leftMargin(), 36 * pixelsPerPoint);
    EXPECT_EQ(first.textIndent(), -18 * pixelsPerPoint);
    EXPECT_EQ(first.rightMargin(), 5 * pixelsPerPoint);
    EXPECT_EQ(first.topMargin(), 10 * pixelsPerPoint);
    EXPECT_EQ(first.bottomMargin(), 1.5 * pixelsPerPoint);
    const double hang = 18 * pixelsPerPoint;
    EXPECT_EQ(first.tabPositions(), QList({QTextOption::Tab(0.3 * hang, QTextOption::LeftTab),
                                           QTextOption::Tab(hang, QTextOption::LeftTab)}));
    const QTextBlockFormat second = view.document()->lastBlock().blockFormat();
    EXPECT_EQ(second.alignment(), Qt::AlignRight);
    EXPECT_EQ(second.textIndent(), 18 * pixelsPerPoint);
    EXPECT_TRUE(second.tabPositions().isEmpty());
}

TEST_F(TermsView, OnlyATabAtTheBeginOfAListItemMovesItsMark) {
    show("{\\rtf1\\li720\\fi-360 1.\\tab a\\par\\par b}");
    const QList hang{QTextOption::Tab(18 * view.logicalDpiY() / 72.0, QTextOption::LeftTab)};
    for (QTextBlock block = view.document()->firstBlock(); block.isValid(); block = block.next()) {
        EXPECT_EQ(block.blockFormat().tabPositions(), hang) << block.text().toStdString();
    }
    EXPECT_EQ(view.document()->blockCount(), 3) << "one of them is empty";
}

TEST_F(TermsView, KeepsTheFormatsOfRuns) {
    show("{\\rtf1 plain\\b\\i\\ul\\strike\\caps\\fs40 all}");
    auto run = view.document()->firstBlock().begin();
    const QTextCharFormat plain = run.fragment().charFormat();
    const QTextCharFormat all = (++run).fragment().charFormat();
    for (const QTextCharFormat *format : {&plain, &all}) {
        const bool isAll = format == &all;
        EXPECT_EQ(format->fontWeight(), isAll ? QFont::Bold : QFont::Normal);
        EXPECT_EQ(format->fontItalic(), isAll);
        EXPECT_EQ(format->fontUnderline(), isAll);
        EXPECT_EQ(format->fontStrikeOut(), isAll);
        EXPECT_EQ(format->fontCapitalization(), isAll ? QFont::AllUppercase : QFont::MixedCase);
        EXPECT_EQ(format->fontPointSize(), isAll ? 20 : 12);
    }
}

TEST_F(TermsView, TheLinesOfAListItemBeginBelowEachOther) {
    show("{\\rtf1\\pard\\li720\\fi-720 \\tab 1.\\tab " + QByteArray("word ").repeated(60) + "}");
    open();
    showScreen("licenseView");
    view.grab();
    const QTextLayout &layout = *view.document()->firstBlock().layout();
    ASSERT_GT(layout.lineCount(), 1);
    EXPECT_NEAR(layout.lineAt(0).cursorToX(4), layout.lineAt(1).cursorToX(layout.lineAt(1).textStart()), 1);
}

qsizetype runsOf(const QTextBlock &block) {
    qsizetype runs = 0;
    for (auto run = block.begin(); !run.atEnd(); ++run) {
        ++runs;
    }
    return runs;
}

TEST_F(TermsView, HoldsNoParagraphThatWouldTakeLongToLayOut) {
    for (const QByteArray &part : {QByteArray("\\b a\\b0 b"), QByteArray("aaaaaaaaaa"), QByteArray("\\u769?")}) {
        show("{\\rtf1 " + part.repeated(20'000) + "}");
        for (QTextBlock block = view.document()->begin(); block.isValid(); block = block.next()) {
            ASSERT_LE(block.length() - 1, kyb::kMaxParagraphUnits) << part.toStdString();
            ASSERT_LE(runsOf(block), kyb::kMaxParagraphRuns) << part.toStdString();
        }
    }
}

/// Documents that take much room for little text.
QList<QByteArray> tallDocuments() {
    return {
        "\\sb31680\\sa31680 " + QByteArray("a\\par ").repeated(100),
        "\\fs192 " + QByteArray(500, 'W'),
        "\\fs192\\li31680\\ri31680 " + QByteArray(500, 'W'),
        "\\li31680 " + QByteArray(2000, 'W'),
        "\\fi31680 " + QByteArray("WWWWWWWWWWWWWWWWWWWWW\\par ").repeated(100),
        "\\li31680\\fi-31680 " + QByteArray("a\\tab").repeated(500),
        "\\fs2 " + QByteArray("a\\line ").repeated(1000),
        QByteArray("\\fs192 a\\fs2\\tab\\tab\\tab\\tab").repeated(100),
        QByteArray("\\par").repeated(300),
        QByteArray("\\u26085?").repeated(2000),
    };
}

TEST_F(TermsView, NoTextIsTallerThanItsEstimate) {
    open();
    showScreen("licenseView");
    for (const QByteArray &part : tallDocuments()) {
        const kyb::RichTextDocument document = kyb::parseRichText("{\\rtf1 " + part + "}");
        view.setRichText(document);
        double estimate = 2 * view.document()->documentMargin();
        for (const kyb::RichTextParagraph &paragraph : document.paragraphs) {
            estimate += kyb::shownHeight(paragraph) * view.logicalDpiY() / 72;
        }
        EXPECT_LE(view.document()->size().height(), estimate) << part.first(30).toStdString();
    }
}

TEST_F(TermsView, NoIndentLeadsOutOfIt) {
    open();
    showScreen("licenseView");
    for (const char *indents : {"\\li31680", "\\li-31680", "\\fi31680", "\\fi-31680", "\\li31680\\fi-31680\\ri31680",
                                "\\ri31680", "\\ri-31680"}) {
        show("{\\rtf1" + QByteArray(indents) + " " + QByteArray("word ").repeated(60) + "}");
        view.grab();
        const QTextBlock block = view.document()->firstBlock();
        const QRectF place = view.document()->documentLayout()->blockBoundingRect(block);
        for (int i = 0; i < block.layout()->lineCount(); ++i) {
            const QRectF line = block.layout()->lineAt(i).naturalTextRect().translated(place.topLeft());
            EXPECT_GE(line.left(), 0) << indents;
            EXPECT_LE(line.right(), view.viewport()->width()) << indents;
            EXPECT_GE(block.layout()->lineAt(i).width(), 72) << indents;
        }
    }
}

TEST_F(TermsView, BeginsAtTheTop) {
    show("{\\rtf1 " + QByteArray("line\\par ").repeated(400) + "}");
    EXPECT_EQ(view.textCursor().position(), 0);
}

void turnWheelDown(QWidget &area, Qt::KeyboardModifiers modifiers) {
    const QPointF place = area.rect().center();
    QWheelEvent event(place, area.mapToGlobal(place), {}, {0, -120}, Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&area, &event);
}

TEST_F(TermsView, TheWheelScrollsAndDoesNotZoom) {
    show("{\\rtf1 " + QByteArray("\\par ").repeated(400) + "}");
    open();
    showScreen("licenseView");
    const double height = view.document()->size().height();
    for (const Qt::KeyboardModifiers modifiers : {Qt::NoModifier, Qt::ControlModifier}) {
        const int before = view.verticalScrollBar()->value();
        turnWheelDown(*view.viewport(), modifiers);
        EXPECT_GT(view.verticalScrollBar()->value(), before) << modifiers.toInt();
        EXPECT_EQ(view.document()->size().height(), height) << modifiers.toInt();
    }
}

TEST_F(TermsView, ColoursOfThePaperAreReadableInTheDark) {
    const QByteArray black = "{\\rtf1{\\colortbl;\\red0\\green0\\blue0;}\\cf1 black}";
    show(black);
    EXPECT_EQ(formatAt(0).foreground().color(), QColor(0, 0, 0));
    goDark();
    waitUntil([&] {
        const QColor ground = view.palette().color(QPalette::Base);
        return kyb::contrast(formatAt(0).foreground().color(), ground) >= 4.5;
    });
}

TEST(ReadableColor, LeavesWhatCanBeRead) {
    EXPECT_EQ(kyb::readableColor(Qt::black, Qt::white), QColor(Qt::black));
    EXPECT_EQ(kyb::readableColor(QColor(0, 0, 160), Qt::white), QColor(0, 0, 160));
}

TEST(ReadableColor, TurnsTheLightnessAndKeepsTheHue) {
    const QColor shown = kyb::readableColor(QColor(0, 0, 160), Qt::black);
    EXPECT_GT(kyb::contrast(shown, Qt::black), kyb::contrast(QColor(0, 0, 160), Qt::black));
    EXPECT_NEAR(shown.hueF(), QColor(0, 0, 160).hueF(), 0.01);
}

TEST(Contrast, GoesFromOneToTwentyOne) {
    EXPECT_DOUBLE_EQ(kyb::contrast(Qt::black, Qt::white), 21.0);
    EXPECT_DOUBLE_EQ(kyb::contrast(Qt::red, Qt::red), 1.0);
}

} // namespace
