#include "ui/views/KYSourceView.h"

#include "TestBundle.h"
#include "ui/views/image_loading.h"

#include <QAccessible>
#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QVBoxLayout>
#include <QtTest>

using kyb::DraggingContext;
using kyb::DragOperation;

namespace {

class SourceView : public TestBundle {
protected:
    SourceView() {
        addFile(QStringLiteral("Alert.icns"), icns({png({128, 128}, Qt::red)}));
        view_ = new KYSourceView(&window_);
        view_->setGeometry(50, 40, 96, 80);
        window_.resize(400, 300);
        window_.show();
    }

    void letDrag() {
        isInitializationComplete = true;
        isTermsAndConditionsAccepted = true;
    }
    void press() { QTest::mousePress(view_, Qt::LeftButton, Qt::NoModifier, QPoint(10, 12)); }

    /// The drag that the last press started, until the event loop turns.
    QDrag *drag() { return view_->findChild<QDrag *>(); }

    QWidget window_;
    KYSourceView *view_ = nullptr;
};

TEST_F(SourceView, ShowsTheAlertPictureInTheSizeOfItsFrame) {
    EXPECT_EQ(sourceIconImage, (kyb::NamedImage{QStringLiteral("Alert.icns"), QSize(96, 80)}));
    EXPECT_EQ(view_->image(), sourceIconImage);
    EXPECT_EQ(shot(*view_).pixelColor(1, 1), QColor(Qt::red));
    EXPECT_EQ(shot(*view_).pixelColor(94, 78), QColor(Qt::red));
}

TEST_F(SourceView, ReplacesTheSharedPictureWhenAnotherOneIsMade) {
    sourceIconImage = {QStringLiteral("Other.png"), QSize(1, 2)};
    const KYSourceView another;
    EXPECT_EQ(sourceIconImage.name, QStringLiteral("Alert.icns"));
    EXPECT_EQ(sourceIconImage.size, another.size());
}

TEST_F(SourceView, KeepsAPictureThatItWasGivenBeforeItGotItsFrame) {
    QWidget window;
    auto *view = new KYSourceView(&window);
    const kyb::NamedImage given{QStringLiteral("Package.png"), QSize(30, 30)};
    sourceIconImage = given;
    view->setImage(given);
    view->setGeometry(0, 0, 64, 64);
    window.show();
    EXPECT_EQ(view->image(), given);
    EXPECT_EQ(sourceIconImage, given);
}

TEST_F(SourceView, BeforeInitializationCompletesAPressNeitherDragsNorPosts) {
    isTermsAndConditionsAccepted = true;
    press();
    EXPECT_EQ(drag(), nullptr);
    EXPECT_EQ(posts(TermsNotAcceptedNotification), 0);
    isTermsAndConditionsAccepted = false;
    press();
    EXPECT_EQ(drag(), nullptr);
    EXPECT_EQ(posts(TermsNotAcceptedNotification), 0);
}

TEST_F(SourceView, WithoutTheTermsEachPressPostsOnceAndStartsNoDrag) {
    isInitializationComplete = true;
    press();
    EXPECT_EQ(posts(TermsNotAcceptedNotification), 1);
    view_->mouseDown(QPoint(1, 1));
    EXPECT_EQ(posts(TermsNotAcceptedNotification), 2);
    EXPECT_EQ(drag(), nullptr);
    EXPECT_EQ(posts(PerformDragOperationNotification), 0);
}

TEST_F(SourceView, APressStartsTheDragAtOnce) {
    letDrag();
    press();
    ASSERT_NE(drag(), nullptr);
    EXPECT_EQ(drag()->source(), view_);
    EXPECT_EQ(drag()->hotSpot(), QPoint(10, 12));
    EXPECT_EQ(posts(TermsNotAcceptedNotification), 0);
    EXPECT_EQ(posts(PerformDragOperationNotification), 0);
}

TEST_F(SourceView, OnlyTheLeftButtonStartsADrag) {
    letDrag();
    QTest::mousePress(view_, Qt::RightButton, Qt::NoModifier, QPoint(10, 12));
    EXPECT_EQ(drag(), nullptr);
    isTermsAndConditionsAccepted = false;
    QTest::mousePress(view_, Qt::RightButton, Qt::NoModifier, QPoint(10, 12));
    EXPECT_EQ(posts(TermsNotAcceptedNotification), 0);
}

TEST_F(SourceView, DragsTheSharedPictureInTheFrameOfTheView) {
    addPicture(QStringLiteral("Package.png"), {200, 200}, Qt::green);
    letDrag();
    sourceIconImage = {QStringLiteral("Package.png"), QSize(20, 20)};
    press();
    ASSERT_NE(drag(), nullptr);
    EXPECT_EQ(drag()->pixmap().deviceIndependentSize().toSize(), view_->size());
    EXPECT_EQ(drag()->pixmap().toImage().pixelColor(40, 40), QColor(Qt::green));
}

TEST_F(SourceView, TheDragCarriesItsPrivateTypeAndNoData) {
    letDrag();
    press();
    ASSERT_NE(drag(), nullptr);
    const QString type = QStringLiteral("com.kyb.sourceIconObject");
    EXPECT_EQ(drag()->mimeData()->formats(), QStringList{type});
    EXPECT_TRUE(drag()->mimeData()->hasFormat(type));
    EXPECT_TRUE(drag()->mimeData()->data(type).isEmpty());
    EXPECT_FALSE(drag()->mimeData()->hasText());
    EXPECT_FALSE(drag()->mimeData()->hasHtml());
    EXPECT_FALSE(drag()->mimeData()->hasUrls());
    EXPECT_FALSE(drag()->mimeData()->hasImage());
}

TEST_F(SourceView, TheToolkitFindsTheMarkAgainThatItAddsToADrag) {
    letDrag();
    press();
    ASSERT_NE(drag(), nullptr);
    const QString mark = QStringLiteral("application/x-qt-mime-type-name");
    drag()->mimeData()->setData(mark, "mark");
    EXPECT_EQ(drag()->mimeData()->data(mark), "mark");
    EXPECT_TRUE(drag()->mimeData()->data(QString::fromLatin1(kPrivateDragObject)).isEmpty());
}

TEST_F(SourceView, OffersACopyWithinTheApplicationAndNothingOutside) {
    EXPECT_EQ(int(view_->sourceOperationMask(DraggingContext::WithinApplication)), 1);
    EXPECT_EQ(int(view_->sourceOperationMask(DraggingContext::OutsideApplication)), 0);
    EXPECT_EQ(int(DraggingContext::WithinApplication), 1);
    EXPECT_EQ(int(view_->draggingFormation()), 1);
    EXPECT_TRUE(view_->animatesToStartingPositionsOnCancelOrFail());
}

TEST_F(SourceView, APressWithoutAMoveEndsWithoutASlide) {
    letDrag();
    press();
    for (const QWidget *window : QApplication::topLevelWidgets()) {
        EXPECT_NE(window->objectName(), QStringLiteral("slideBack"));
    }
}

TEST_F(SourceView, TakesTheFocusAndTheFirstClick) {
    EXPECT_TRUE(view_->acceptsFirstResponder());
    EXPECT_TRUE(view_->acceptsFirstMouse());
    EXPECT_EQ(view_->focusPolicy(), Qt::StrongFocus);
}

TEST_F(SourceView, ShowsThatItHasTheFocus) {
    const QImage before = shot(*view_);
    QApplication::setActiveWindow(&window_);
    view_->setFocus();
    ASSERT_TRUE(kyb::test::turnUntil([&] { return view_->hasFocus(); }));
    EXPECT_NE(shot(*view_), before);
    EXPECT_EQ(shot(*view_).pixelColor(48, 1), view_->palette().color(QPalette::Highlight));
}

TEST_F(SourceView, SpaceAndReturnStandForTheWholeDragAndDrop) {
    letDrag();
    int expected = 0;
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
        QTest::keyClick(view_, key);
        EXPECT_EQ(posts(PerformDragOperationNotification), ++expected);
    }
    QTest::keyClick(view_, Qt::Key_A);
    EXPECT_EQ(posts(PerformDragOperationNotification), expected);
    EXPECT_EQ(drag(), nullptr);
}

TEST_F(SourceView, AKeyThatIsHeldDownCountsOnce) {
    letDrag();
    QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, QString(), /*autorep=*/true);
    QApplication::sendEvent(view_, &repeated);
    EXPECT_EQ(posts(PerformDragOperationNotification), 0);
}

TEST_F(SourceView, TheKeyboardMeetsTheGatesOfTheMouse) {
    QTest::keyClick(view_, Qt::Key_Space);
    EXPECT_EQ(posts(TermsNotAcceptedNotification), 0);
    isInitializationComplete = true;
    QTest::keyClick(view_, Qt::Key_Space);
    EXPECT_EQ(posts(TermsNotAcceptedNotification), 1);
    EXPECT_EQ(posts(PerformDragOperationNotification), 0);
}

TEST_F(SourceView, IsAButtonToAssistiveTechnology) {
    letDrag();
    QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(view_);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->role(), QAccessible::Button);
    EXPECT_EQ(accessible->text(QAccessible::Name), QStringLiteral("SourceIconName"));
    EXPECT_EQ(accessible->text(QAccessible::Description), QStringLiteral("SourceIconHelp"));
    accessible->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(posts(PerformDragOperationNotification), 1);
}

TEST_F(SourceView, TellsAssistiveTechnologyThatTheTermsComeFirst) {
    const QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(view_);
    EXPECT_EQ(accessible->text(QAccessible::Description), QStringLiteral("SourceIconTermsFirst"));
    letDrag();
    EXPECT_EQ(accessible->text(QAccessible::Description), QStringLiteral("SourceIconHelp"));
}

TEST_F(SourceView, AssistiveTechnologyDropsNothingWhereAMouseCouldNot) {
    letDrag();
    QAccessibleActionInterface *actions = QAccessible::queryAccessibleInterface(view_)->actionInterface();
    view_->QWidget::setEnabled(false);
    actions->doAction(QAccessibleActionInterface::pressAction());
    view_->QWidget::setEnabled(true);
    view_->hide();
    actions->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(posts(PerformDragOperationNotification), 0);
    view_->show();
    actions->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(posts(PerformDragOperationNotification), 1);
}

TEST_F(SourceView, AMissingPictureIsNotDrawn) {
    view_->setImage({QStringLiteral("Nowhere.png"), QSize(96, 80)});
    EXPECT_EQ(shot(*view_).pixelColor(48, 40).alpha(), 0);
    letDrag();
    sourceIconImage = view_->image();
    press();
    EXPECT_NE(drag(), nullptr);
}

} // namespace
