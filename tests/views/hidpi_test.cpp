// Runs with two pixels to the point.
#include "TestBundle.h"
#include "ui/views/KYBackgroundView.h"
#include "ui/views/KYSourceView.h"
#include "ui/views/LogTextView.h"

#include <QDrag>
#include <QtTest>

namespace {

class HiDpi : public TestBundle {};

TEST_F(HiDpi, ViewsShowThePictureWithTwiceThePixels) {
    addText(QStringLiteral("backgroundImage"), QStringLiteral("Back.png"));
    addPicture(QStringLiteral("Back.png"), {40, 30}, Qt::red);
    addPicture(QStringLiteral("Back@2x.png"), {80, 60}, Qt::green);
    KYBackgroundView view;
    view.resize(40, 30);
    const QImage image = view.grab().toImage();
    ASSERT_EQ(image.size(), QSize(80, 60));
    EXPECT_EQ(image.pixelColor(0, 0), QColor(Qt::green));
    EXPECT_EQ(image.pixelColor(79, 59), QColor(Qt::green));
}

TEST_F(HiDpi, TheDraggedPictureHasTwiceThePixels) {
    addFile(QStringLiteral("Alert.icns"), icns({png({32, 32}, Qt::red), png({64, 64}, Qt::green)}));
    isInitializationComplete = true;
    isTermsAndConditionsAccepted = true;
    KYSourceView view;
    view.resize(32, 32);
    view.show();
    QTest::mousePress(&view, Qt::LeftButton, Qt::NoModifier, QPoint(3, 4));
    const auto *drag = view.findChild<QDrag *>();
    ASSERT_NE(drag, nullptr);
    EXPECT_EQ(drag->pixmap().size(), QSize(64, 64));
    EXPECT_EQ(drag->pixmap().devicePixelRatio(), 2.0);
    EXPECT_EQ(drag->pixmap().toImage().pixelColor(32, 32), QColor(Qt::green));
    EXPECT_EQ(drag->hotSpot(), QPoint(3, 4));
}

TEST_F(HiDpi, ALogIsDrawnInTheScreensPixels) {
    kyb::LogTextView view;
    view.resize(200, 100);
    view.setText(QStringLiteral("abc"));
    const QImage sharp = view.viewport()->grab().toImage();
    EXPECT_EQ(sharp.size(), view.viewport()->size() * 2);
    // Drawn at twice the size, not blown up: neighbouring pixels differ within one point.
    int differing = 0;
    for (int y = 0; y + 1 < sharp.height(); y += 2) {
        for (int x = 0; x + 1 < sharp.width(); x += 2) {
            differing += sharp.pixel(x, y) != sharp.pixel(x + 1, y) ? 1 : 0;
        }
    }
    EXPECT_GT(differing, 5);
}

} // namespace
