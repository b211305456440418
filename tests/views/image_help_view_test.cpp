#include "ui/views/KYImageHelpView.h"

#include "TestBundle.h"

#include <QAccessible>
#include <QApplication>
#include <QEnterEvent>

namespace {

class ImageHelpView : public TestBundle {
protected:
    ImageHelpView() { addPicture(QStringLiteral("question_icon.png"), {16, 16}, Qt::magenta); }
};

TEST_F(ImageHelpView, ShowsItsPictureInItsOwnSizeInTheMiddle) {
    KYImageHelpView view;
    view.resize(32, 32);
    EXPECT_EQ(view.image(), (kyb::NamedImage{QStringLiteral("question_icon.png"), QSize()}));
    const QImage image = shot(view);
    EXPECT_EQ(image.pixelColor(8, 8), QColor(Qt::magenta));
    EXPECT_EQ(image.pixelColor(23, 23), QColor(Qt::magenta));
    EXPECT_EQ(image.pixelColor(7, 8).alpha(), 0);
    EXPECT_EQ(image.pixelColor(24, 23).alpha(), 0);
    EXPECT_EQ(view.sizeHint(), QSize(16, 16));
}

TEST_F(ImageHelpView, TracksEnteringAndLeavingAlwaysOverItsBounds) {
    KYImageHelpView view;
    ASSERT_TRUE(view.trackingArea()) << "from the beginning";
    EXPECT_EQ(view.trackingArea()->rect, view.rect());
    view.resize(24, 20);
    view.updateTrackingAreas();
    EXPECT_EQ(view.trackingArea()->options, 129U);
    EXPECT_EQ(view.trackingArea()->rect, QRect(0, 0, 24, 20));
    EXPECT_EQ(view.trackingArea()->owner, &view);
}

TEST_F(ImageHelpView, FollowsItsSizeWithTheTrackingArea) {
    KYImageHelpView view;
    view.show();
    view.resize(40, 50);
    EXPECT_EQ(view.trackingArea()->rect, QRect(0, 0, 40, 50));
}

TEST_F(ImageHelpView, EnteringAndLeavingFallThroughToTheUsualHandling) {
    KYImageHelpView view;
    QWidget tip;
    view.setTooltipView(&tip);
    view.resize(32, 32);
    const QImage before = shot(view);
    QEnterEvent enter(QPointF(1, 1), QPointF(1, 1), QPointF(1, 1));
    enter.ignore();
    QApplication::sendEvent(&view, &enter);
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&view, &leave);
    EXPECT_FALSE(tip.isVisible());
    EXPECT_EQ(shot(view), before);
}

TEST_F(ImageHelpView, KeepsTheTooltipViewAndTheWindowAsLongAsTheyLive) {
    KYImageHelpView view;
    QWidget window;
    auto tip = std::make_unique<QWidget>();
    view.setTooltipView(tip.get());
    view.setParentWindow(&window);
    EXPECT_EQ(view.tooltipView(), tip.get());
    EXPECT_EQ(view.parentWindow(), &window);
    tip.reset();
    EXPECT_EQ(view.tooltipView(), nullptr);
}

TEST_F(ImageHelpView, IsAPictureToAssistiveTechnology) {
    KYImageHelpView view;
    QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(&view);
    EXPECT_EQ(accessible->role(), QAccessible::Graphic);
    EXPECT_EQ(accessible->text(QAccessible::Name), QStringLiteral("HelpIconName"));
}

} // namespace
