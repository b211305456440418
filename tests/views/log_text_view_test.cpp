#include "ui/views/LogTextView.h"

#include "TestBundle.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QScrollBar>
#include <QtTest>

namespace {

class LogTextView : public TestBundle {
protected:
    LogTextView() {
        view_.resize(400, 300);
        view_.show();
        QApplication::setActiveWindow(&view_);
        view_.setFocus();
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(&view_, key, modifiers);
    }
    QPoint pointOf(qsizetype offset) const { return view_.caretRect(offset).center(); }
    static QString lines(int count) {
        QStringList all;
        for (int number = 0; number < count; ++number) {
            all.append(QStringLiteral("line %1").arg(number));
        }
        return all.join(u'\n');
    }
    static QString clipboard() { return QApplication::clipboard()->text(); }

    kyb::LogTextView view_;
};

TEST_F(LogTextView, SharesTheTextThatItIsGiven) {
    const QString text = lines(10);
    view_.setText(text);
    EXPECT_EQ(view_.text(), text);
    EXPECT_EQ(view_.text().constData(), text.constData());
}

TEST_F(LogTextView, ShowsANewTextFromItsBegin) {
    view_.setText(lines(1000));
    press(Qt::Key_End, Qt::ControlModifier);
    EXPECT_GT(view_.firstVisibleRow(), 0);
    press(Qt::Key_A, Qt::ControlModifier);
    view_.setText(lines(999));
    EXPECT_EQ(view_.firstVisibleRow(), 0);
    EXPECT_EQ(view_.caret(), 0);
    EXPECT_FALSE(view_.hasSelection());
}

TEST_F(LogTextView, DrawsTheRowsThatAreSeen) {
    const QImage empty = shot(view_);
    view_.setText(lines(1000));
    const QImage top = shot(view_);
    EXPECT_NE(top, empty);
    view_.verticalScrollBar()->setValue(500);
    EXPECT_NE(shot(view_), top);
    view_.setText(QString());
    EXPECT_EQ(shot(view_), empty);
}

TEST_F(LogTextView, ScrollsToItsLastRowAndNoFurther) {
    view_.setText(lines(1000));
    view_.verticalScrollBar()->setValue(view_.verticalScrollBar()->maximum());
    const QRect last = view_.caretRect(view_.text().size());
    EXPECT_LE(last.bottom(), view_.viewport()->height());
    EXPECT_GE(last.bottom(), view_.viewport()->height() - 2 * view_.rowHeight() - 8);
}

TEST_F(LogTextView, ScrollsSidewaysAsFarAsTheLongestRowGoes) {
    view_.setText(QStringLiteral("short\n") + QString(300, u'm') + QStringLiteral("\nshort"));
    QScrollBar *bar = view_.horizontalScrollBar();
    EXPECT_GT(bar->maximum(), 0);
    bar->setValue(bar->maximum());
    EXPECT_LE(view_.caretRect(306).right(), view_.viewport()->width());
    view_.setText(QStringLiteral("short"));
    EXPECT_EQ(bar->maximum(), 0);
}

TEST_F(LogTextView, ScrollsSidewaysToTheCaretOnlyWhenItIsOutOfSight) {
    view_.setText(QString(300, u'm'));
    QScrollBar *bar = view_.horizontalScrollBar();
    press(Qt::Key_End);
    const int end = bar->value();
    EXPECT_LT(view_.caretRect(300).right(), view_.viewport()->width());
    for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Left, Qt::Key_Right}) {
        press(key);
        EXPECT_EQ(bar->value(), end);
    }
    press(Qt::Key_Home);
    EXPECT_EQ(bar->value(), 0);
    for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Right, Qt::Key_Left}) {
        press(key);
        EXPECT_EQ(bar->value(), 0);
    }
}

TEST_F(LogTextView, AnotherFontHasOtherRows) {
    view_.setText(lines(1000));
    const int height = view_.rowHeight();
    const int before = view_.verticalScrollBar()->maximum();
    QFont larger = view_.QWidget::font();
    larger.setPointSizeF(3 * larger.pointSizeF());
    view_.QWidget::setFont(larger);
    EXPECT_GT(view_.rowHeight(), 2 * height);
    EXPECT_GT(view_.verticalScrollBar()->maximum(), before);
}

TEST_F(LogTextView, ArrowsMoveTheCaret) {
    view_.setText(QStringLiteral("abc\ndef\nghi"));
    press(Qt::Key_Right);
    EXPECT_EQ(view_.caret(), 1);
    press(Qt::Key_Down);
    EXPECT_EQ(view_.caret(), 5);
    press(Qt::Key_Left);
    press(Qt::Key_Left);
    EXPECT_EQ(view_.caret(), 3);
    press(Qt::Key_Right);
    EXPECT_EQ(view_.caret(), 4);
    press(Qt::Key_Up);
    EXPECT_EQ(view_.caret(), 0);
    press(Qt::Key_Left);
    press(Qt::Key_Up);
    EXPECT_EQ(view_.caret(), 0);
    EXPECT_FALSE(view_.hasSelection());
}

TEST_F(LogTextView, TheCaretKeepsItsColumnOverShorterRows) {
    view_.setText(QStringLiteral("mmmmmmmm\nm\nmmmmmmmm"));
    view_.select(6, 6);
    press(Qt::Key_Down);
    EXPECT_EQ(view_.caret(), 10);
    press(Qt::Key_Down);
    EXPECT_EQ(view_.caret(), 11 + 6);
}

TEST_F(LogTextView, TheCaretStepsOverWholeCharacters) {
    view_.setText(QStringLiteral("\U0001F600e\u0301x"));
    press(Qt::Key_Right);
    EXPECT_EQ(view_.caret(), 2);
    press(Qt::Key_Right);
    EXPECT_EQ(view_.caret(), 4);
    press(Qt::Key_Left);
    EXPECT_EQ(view_.caret(), 2);
}

TEST_F(LogTextView, TheCaretCrossesTheRowsOfOneLongLine) {
    const qsizetype most = kyb::RowIndex::kMaxRowUnits;
    view_.setText(QString(2 * most, u'x'));
    view_.select(most - 1, most - 1);
    press(Qt::Key_Right);
    EXPECT_EQ(view_.caret(), most);
    press(Qt::Key_Left);
    EXPECT_EQ(view_.caret(), most - 1);
}

TEST_F(LogTextView, HomeAndEndGoToTheEndsOfTheLineAndWithControlOfTheText) {
    view_.setText(QStringLiteral("abc\ndef\nghi"));
    view_.select(5, 5);
    press(Qt::Key_End);
    EXPECT_EQ(view_.caret(), 7);
    press(Qt::Key_Home);
    EXPECT_EQ(view_.caret(), 4);
    press(Qt::Key_End, Qt::ControlModifier);
    EXPECT_EQ(view_.caret(), 11);
    press(Qt::Key_Home, Qt::ControlModifier);
    EXPECT_EQ(view_.caret(), 0);
}

TEST_F(LogTextView, PagesMoveByWhatIsSeenAndScrollAlong) {
    view_.setText(lines(1000));
    press(Qt::Key_PageDown);
    press(Qt::Key_PageDown);
    const qsizetype row = view_.rows().rowAt(view_.caret());
    EXPECT_GT(row, 10);
    EXPECT_GT(view_.firstVisibleRow(), 0);
    EXPECT_LE(view_.firstVisibleRow(), row);
    press(Qt::Key_PageUp);
    press(Qt::Key_PageUp);
    EXPECT_EQ(view_.rows().rowAt(view_.caret()), 0);
    EXPECT_EQ(view_.firstVisibleRow(), 0);
}

TEST_F(LogTextView, ControlArrowsGoByWords) {
    view_.setText(QStringLiteral("one two\nthree"));
    press(Qt::Key_Right, Qt::ControlModifier);
    EXPECT_EQ(view_.caret(), 4);
    press(Qt::Key_Right, Qt::ControlModifier);
    press(Qt::Key_Right, Qt::ControlModifier);
    EXPECT_EQ(view_.caret(), 8);
    press(Qt::Key_Left, Qt::ControlModifier);
    press(Qt::Key_Left, Qt::ControlModifier);
    EXPECT_EQ(view_.caret(), 4);
}

TEST_F(LogTextView, ShiftSelects) {
    view_.setText(QStringLiteral("abc\ndef\nghi"));
    press(Qt::Key_Right);
    press(Qt::Key_Down, Qt::ShiftModifier);
    press(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(view_.selectedText(), QStringLiteral("bc\nde"));
    press(Qt::Key_Home, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(view_.selectedText(), QStringLiteral("a"));
    press(Qt::Key_Right);
    EXPECT_FALSE(view_.hasSelection());
}

TEST_F(LogTextView, SelectAllAndCopyTakeTheWholeText) {
    const QString text = lines(100);
    view_.setText(text);
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(view_.firstVisibleRow(), 0);
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(clipboard(), text);
}

TEST_F(LogTextView, CopyWithoutASelectionLeavesTheClipboardAlone) {
    view_.setText(QStringLiteral("abc"));
    QApplication::clipboard()->setText(QStringLiteral("mine"));
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(clipboard(), QStringLiteral("mine"));
}

TEST_F(LogTextView, CannotBeEdited) {
    view_.setText(QStringLiteral("abc"));
    view_.selectAll();
    for (const Qt::Key key : {Qt::Key_X, Qt::Key_Delete, Qt::Key_Backspace, Qt::Key_Return}) {
        press(key);
    }
    press(Qt::Key_X, Qt::ControlModifier);
    press(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(view_.text(), QStringLiteral("abc"));
}

TEST_F(LogTextView, DraggingTheMouseSelects) {
    view_.setText(QStringLiteral("abcdef\nghijkl"));
    QTest::mousePress(view_.viewport(), Qt::LeftButton, Qt::NoModifier, view_.caretRect(2).topLeft() + QPoint(0, 2));
    QTest::mouseMove(view_.viewport(), view_.caretRect(9).topLeft() + QPoint(0, 2));
    QMouseEvent move(QEvent::MouseMove, QPointF(view_.caretRect(9).topLeft() + QPoint(0, 2)),
                     view_.viewport()->mapToGlobal(QPointF(view_.caretRect(9).topLeft() + QPoint(0, 2))), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view_.viewport(), &move);
    QTest::mouseRelease(view_.viewport(), Qt::LeftButton, Qt::NoModifier, view_.caretRect(9).topLeft() + QPoint(0, 2));
    EXPECT_EQ(view_.selectedText(), QStringLiteral("cdef\ngh"));
}

TEST_F(LogTextView, AClickWithShiftExtendsTheSelection) {
    view_.setText(QStringLiteral("abcdef"));
    QTest::mouseClick(view_.viewport(), Qt::LeftButton, Qt::NoModifier, view_.caretRect(1).topLeft() + QPoint(0, 2));
    QTest::mouseClick(view_.viewport(), Qt::LeftButton, Qt::ShiftModifier, view_.caretRect(4).topLeft() + QPoint(0, 2));
    EXPECT_EQ(view_.selectedText(), QStringLiteral("bcd"));
}

TEST_F(LogTextView, ADoubleClickSelectsTheWord) {
    view_.setText(QStringLiteral("one second third"));
    QTest::mouseDClick(view_.viewport(), Qt::LeftButton, Qt::NoModifier, pointOf(6));
    EXPECT_EQ(view_.selectedText(), QStringLiteral("second"));
    view_.setText(QString());
    QTest::mouseDClick(view_.viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
    EXPECT_FALSE(view_.hasSelection());
}

TEST_F(LogTextView, ShowsTheSelectionInTheColoursOfThePalette) {
    view_.setText(QStringLiteral("abcdef"));
    view_.selectAll();
    const QColor highlight = view_.palette().color(QPalette::Active, QPalette::Highlight);
    ASSERT_TRUE(kyb::test::turnUntil([&] { return view_.hasFocus(); }));
    const QImage image = shot(*view_.viewport());
    EXPECT_EQ(image.pixelColor(view_.caretRect(3).topLeft() + QPoint(0, 1)), highlight);
}

TEST_F(LogTextView, FollowsADarkPalette) {
    QPalette dark;
    dark.setColor(QPalette::Base, QColor(20, 20, 20));
    dark.setColor(QPalette::Text, QColor(230, 230, 230));
    view_.setPalette(dark);
    view_.setText(QString(50, u'M'));
    view_.clearFocus();
    view_.viewport()->setAutoFillBackground(true);
    const QImage image = view_.viewport()->grab().toImage();
    EXPECT_EQ(image.pixelColor(350, 250), QColor(20, 20, 20));
    int bright = 0;
    for (int x = 0; x < 200; ++x) {
        bright += image.pixelColor(x, 4 + view_.rowHeight() / 2).lightness() > 150 ? 1 : 0;
    }
    EXPECT_GT(bright, 10);
}

TEST_F(LogTextView, TheContextMenuCopiesAndSelectsAll) {
    view_.setText(QStringLiteral("abc"));
    const auto openMenu = [&] {
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(10, 10), view_.mapToGlobal(QPoint(10, 10)));
        QApplication::sendEvent(view_.viewport(), &event);
        return view_.findChild<QMenu *>();
    };
    QMenu *menu = openMenu();
    ASSERT_NE(menu, nullptr);
    ASSERT_EQ(menu->actions().size(), 2);
    EXPECT_FALSE(menu->actions()[0]->isEnabled());
    menu->actions()[1]->trigger();
    EXPECT_EQ(view_.selectedText(), QStringLiteral("abc"));
    menu->close();
    ASSERT_TRUE(kyb::test::turnUntil([&] { return view_.findChild<QMenu *>() == nullptr; }));
    openMenu()->actions()[0]->trigger();
    EXPECT_EQ(clipboard(), QStringLiteral("abc"));
}

TEST_F(LogTextView, IsAReadOnlyTextToAssistiveTechnology) {
    view_.setText(QStringLiteral("abc\ndef"));
    view_.select(1, 5);
    QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(&view_);
    EXPECT_EQ(accessible->role(), QAccessible::EditableText);
    EXPECT_TRUE(accessible->state().readOnly);
    EXPECT_EQ(accessible->text(QAccessible::Name), QStringLiteral("LogTextName"));
    QAccessibleTextInterface *text = accessible->textInterface();
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->characterCount(), 7);
    EXPECT_EQ(text->text(1, 5), QStringLiteral("bc\nd"));
    int start = 0;
    int end = 0;
    text->selection(0, &start, &end);
    EXPECT_EQ(start, 1);
    EXPECT_EQ(end, 5);
    EXPECT_EQ(text->cursorPosition(), 5);
    int lineStart = 0;
    int lineEnd = 0;
    EXPECT_EQ(text->textAtOffset(5, QAccessible::LineBoundary, &lineStart, &lineEnd).trimmed(), QStringLiteral("def"));
}

TEST_F(LogTextView, AssistiveTechnologySelectsAndMovesTheCaret) {
    view_.setText(lines(1000));
    QAccessibleTextInterface *text = QAccessible::queryAccessibleInterface(&view_)->textInterface();
    const auto selection = [text] {
        int start = -1;
        int end = -1;
        text->selection(0, &start, &end);
        return std::pair(start, end);
    };
    text->setSelection(0, 2, 4);
    EXPECT_EQ(selection(), std::pair(2, 4));
    EXPECT_EQ(text->selectionCount(), 1);
    text->addSelection(5, 6);
    EXPECT_EQ(selection(), std::pair(5, 6)) << "there is one at a time";
    text->removeSelection(0);
    EXPECT_EQ(text->selectionCount(), 0);
    EXPECT_EQ(selection(), std::pair(0, 0));
    text->setCursorPosition(3);
    EXPECT_EQ(view_.caret(), 3);
    text->scrollToSubstring(text->characterCount() - 1, text->characterCount());
    EXPECT_GT(view_.firstVisibleRow(), 900);
}

TEST_F(LogTextView, TellsAssistiveTechnologyWhereACharacterIs) {
    view_.setText(QStringLiteral("abc\ndef"));
    QAccessibleTextInterface *text = QAccessible::queryAccessibleInterface(&view_)->textInterface();
    for (const int offset : {0, 2, 5}) {
        const QRect rect = text->characterRect(offset);
        EXPECT_GT(rect.width(), 0) << offset;
        EXPECT_EQ(text->offsetAtPoint(rect.center() - QPoint(rect.width() / 4, 0)), offset);
    }
    EXPECT_EQ(text->characterRect(3).width(), 0) << "where the line ends";
    int start = -1;
    int end = -1;
    EXPECT_EQ(text->attributes(2, &start, &end), QString());
    EXPECT_EQ(std::pair(start, end), std::pair(0, 7)) << "all looks alike";
}

TEST_F(LogTextView, TheSelectionGoesOnWhileThePointerIsHeldOutside) {
    view_.setText(lines(1000));
    QWidget *viewport = view_.viewport();
    const QPoint below(50, viewport->height() + 40);
    QTest::mousePress(viewport, Qt::LeftButton, {}, pointOf(0));
    QCursor::setPos(viewport->mapToGlobal(below));
    QTest::mouseMove(viewport, below);
    QMouseEvent moved(QEvent::MouseMove, below, viewport->mapToGlobal(below), Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(viewport, &moved);
    const qsizetype selected = view_.selectionEnd();
    EXPECT_TRUE(QTest::qWaitFor([&] { return view_.firstVisibleRow() > 20; }, 60'000));
    EXPECT_GT(view_.selectionEnd(), selected);
    EXPECT_EQ(view_.selectionStart(), 0);
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, below);
    const qsizetype row = view_.firstVisibleRow();
    QTest::qWait(200);
    EXPECT_EQ(view_.firstVisibleRow(), row);
}

TEST_F(LogTextView, AnotherMouseButtonSelectsNothing) {
    view_.setText(QStringLiteral("abc def"));
    QTest::mousePress(view_.viewport(), Qt::MiddleButton, {}, pointOf(5));
    QTest::mouseRelease(view_.viewport(), Qt::MiddleButton, {}, pointOf(5));
    QTest::mouseDClick(view_.viewport(), Qt::MiddleButton, {}, pointOf(5));
    EXPECT_EQ(view_.caret(), 0);
    EXPECT_FALSE(view_.hasSelection());
}

TEST_F(LogTextView, ASelectedLineEndIsSeen) {
    view_.setText(QStringLiteral("abc\ndef"));
    view_.select(4, 0);
    const QImage withLineEnd = shot(view_);
    view_.select(3, 0);
    EXPECT_NE(withLineEnd, shot(view_));
}

TEST_F(LogTextView, APointBelowTheTextIsInItsLastRow) {
    view_.setText(QStringLiteral("abc\ndef"));
    EXPECT_EQ(view_.positionAt(QPoint(390, 290)), 7);
    EXPECT_EQ(view_.positionAt(QPoint(0, -50)), 0);
}

} // namespace
