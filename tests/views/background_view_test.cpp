#include "ui/views/KYBackgroundView.h"

#include "TestBundle.h"

namespace {

class BackgroundView : public TestBundle {
protected:
    BackgroundView() {
        addText(QStringLiteral("backgroundImage"), QStringLiteral("Back.png"));
        addPicture(QStringLiteral("Back.png"), {50, 40}, Qt::green);
        view_.resize(50, 40);
    }
    KYBackgroundView view_;
};

TEST_F(BackgroundView, KeepsThePictureOfTheLocalizedNameInTheSizeOfItsFrame) {
    KYBackgroundView another;
    EXPECT_EQ(backgroundImage, (kyb::NamedImage{QStringLiteral("Back.png"), another.size()}));
    another.resize(70, 30);
    another.show();
    EXPECT_EQ(backgroundImage, (kyb::NamedImage{QStringLiteral("Back.png"), QSize(70, 30)}));
}

TEST_F(BackgroundView, DrawsThePictureWhole) {
    const QImage image = shot(view_);
    EXPECT_EQ(image.pixelColor(0, 0), QColor(Qt::green));
    EXPECT_EQ(image.pixelColor(49, 39), QColor(Qt::green));
}

TEST_F(BackgroundView, DrawsAtTheLowerLeftCornerWhateverItsSize) {
    shot(view_);
    view_.resize(90, 100);
    const QImage larger = shot(view_);
    EXPECT_EQ(larger.pixelColor(0, 99), QColor(Qt::green));
    EXPECT_EQ(larger.pixelColor(49, 60), QColor(Qt::green));
    EXPECT_NE(larger.pixelColor(49, 59), QColor(Qt::green));
    EXPECT_NE(larger.pixelColor(50, 99), QColor(Qt::green));
    view_.resize(20, 10);
    EXPECT_EQ(shot(view_).pixelColor(0, 9), QColor(Qt::green));
}

TEST_F(BackgroundView, LooksThePictureUpAtEachDraw) {
    shot(view_);
    addText(QStringLiteral("backgroundImage"), QStringLiteral("Other.png"));
    addPicture(QStringLiteral("Other.png"), {50, 40}, Qt::yellow);
    EXPECT_EQ(shot(view_).pixelColor(5, 5), QColor(Qt::yellow));
}

TEST_F(BackgroundView, InDarkColoursTheDarkSisterIsDrawnIfThereIsOne) {
    QPalette dark;
    dark.setColor(QPalette::Window, QColor(30, 30, 30));
    dark.setColor(QPalette::WindowText, QColor(240, 240, 240));
    view_.setPalette(dark);
    EXPECT_EQ(shot(view_).pixelColor(5, 5), QColor(Qt::green));
    addPicture(QStringLiteral("Back_dark.png"), {50, 40}, Qt::darkBlue);
    EXPECT_EQ(shot(view_).pixelColor(5, 5), QColor(Qt::darkBlue));
    view_.setPalette(QPalette());
    EXPECT_EQ(shot(view_).pixelColor(5, 5), QColor(Qt::green));
}

TEST_F(BackgroundView, WithoutAPictureNothingIsDrawn) {
    addText(QStringLiteral("backgroundImage"), QStringLiteral("Nowhere.png"));
    EXPECT_EQ(shot(view_).pixelColor(5, 5).alpha(), 0);
}

} // namespace
