#include "ui/views/KYDestinationView.h"

#include "TestBundle.h"
#include "support/PaintCounter.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QPainter>
#include <functional>

using kyb::DragOperation;

namespace {

const QString kType = QStringLiteral("com.kyb.sourceIconObject");
constexpr QColor kGray{128, 128, 128};

class DestinationView : public TestBundle {
protected:
    DestinationView() {
        addPicture(QStringLiteral("DestinationIcon.png"), {120, 120}, Qt::blue);
        view_ = new KYDestinationView(&window_);
        view_->setGeometry(20, 30, 100, 60);
        window_.resize(300, 200);
        window_.show();
        private_.setData(kType, QByteArray());
        foreign_.setText(QStringLiteral("/tmp/file"));
    }

    bool enter(const QMimeData &pasteboard) {
        QDragEnterEvent event(QPoint(5, 5), Qt::CopyAction, &pasteboard, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(view_, &event);
        return event.isAccepted();
    }
    bool move(const QMimeData &pasteboard) {
        QDragMoveEvent event(QPoint(6, 6), Qt::CopyAction, &pasteboard, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(view_, &event);
        return event.isAccepted();
    }
    bool drop(const QMimeData &pasteboard) {
        QDropEvent event(QPointF(6, 6), Qt::CopyAction, &pasteboard, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(view_, &event);
        return event.isAccepted() && event.dropAction() == Qt::CopyAction;
    }
    void leave() {
        QDragLeaveEvent event;
        QApplication::sendEvent(view_, &event);
    }

    QWidget window_;
    KYDestinationView *view_ = nullptr;
    QMimeData private_;
    QMimeData foreign_;
};

TEST_F(DestinationView, ShowsItsPictureInTheSizeOfItsFrame) {
    EXPECT_EQ(view_->image(), (kyb::NamedImage{QStringLiteral("DestinationIcon.png"), QSize(100, 60)}));
    EXPECT_EQ(shot(*view_).pixelColor(0, 0), QColor(Qt::blue));
    EXPECT_EQ(shot(*view_).pixelColor(99, 59), QColor(Qt::blue));
}

TEST_F(DestinationView, IsRegisteredForThePrivateTypeAlone) {
    EXPECT_EQ(view_->registeredDraggedTypes(), QStringList{kType});
    EXPECT_TRUE(view_->acceptDrops());
}

TEST_F(DestinationView, AnAcceptableDragHighlightsItUntilItLeaves) {
    EXPECT_EQ(view_->draggingEntered({QStringLiteral("text/plain"), kType}), DragOperation::Copy);
    EXPECT_TRUE(view_->highlight());
    view_->draggingExited();
    EXPECT_FALSE(view_->highlight());
}

TEST_F(DestinationView, ADragOfAnotherTypeGetsNoOperationAndLeavesTheHighlightAsItIs) {
    EXPECT_EQ(view_->draggingEntered({QStringLiteral("text/uri-list")}), DragOperation::None);
    EXPECT_FALSE(view_->highlight());
    view_->draggingEntered({kType});
    EXPECT_EQ(view_->draggingEntered({QStringLiteral("text/uri-list")}), DragOperation::None);
    EXPECT_TRUE(view_->highlight());
}

TEST_F(DestinationView, PreparingTheDropEndsTheHighlight) {
    view_->draggingEntered({kType});
    EXPECT_TRUE(view_->prepareForDragOperation());
    EXPECT_FALSE(view_->highlight());
    EXPECT_EQ(posts(PerformDragOperationNotification), 0);
}

TEST_F(DestinationView, ADropPostsOnce) {
    EXPECT_TRUE(view_->performDragOperation(&window_));
    EXPECT_EQ(posts(PerformDragOperationNotification), 1);
    view_->concludeDragOperation();
    EXPECT_EQ(posts(PerformDragOperationNotification), 1);
}

TEST_F(DestinationView, ADropOfItsOwnSucceedsAndPostsNothing) {
    EXPECT_TRUE(view_->performDragOperation(view_));
    EXPECT_EQ(posts(PerformDragOperationNotification), 0);
}

TEST_F(DestinationView, TakesTheWholeWayOfADragByEvents) {
    EXPECT_TRUE(enter(private_));
    EXPECT_TRUE(view_->highlight());
    EXPECT_TRUE(move(private_));
    EXPECT_TRUE(drop(private_));
    EXPECT_FALSE(view_->highlight());
    EXPECT_EQ(posts(PerformDragOperationNotification), 1);
}

TEST_F(DestinationView, ADragThatLeavesPostsNothing) {
    EXPECT_TRUE(enter(private_));
    leave();
    EXPECT_FALSE(view_->highlight());
    EXPECT_EQ(posts(PerformDragOperationNotification), 0);
}

TEST_F(DestinationView, RefusesAForeignDragByEvents) {
    EXPECT_FALSE(enter(foreign_));
    EXPECT_FALSE(view_->highlight());
    EXPECT_FALSE(move(foreign_));
    EXPECT_FALSE(drop(foreign_));
    EXPECT_EQ(posts(PerformDragOperationNotification), 0);
}

TEST_F(DestinationView, EachChangeIsFollowedByARedraw) {
    const kyb::test::PaintCounter counter(*view_);
    struct Row {
        const char *what;
        std::function<void()> act;
        int paints;
    };
    const Row rows[] = {
        {"enter", [this] { view_->draggingEntered({kType}); }, 1},
        {"enter with another type", [this] { view_->draggingEntered({QStringLiteral("text/plain")}); }, 0},
        {"exit", [this] { view_->draggingExited(); }, 1},
        {"enter again", [this] { view_->draggingEntered({kType}); }, 1},
        {"prepare", [this] { view_->prepareForDragOperation(); }, 1},
        {"perform", [this] { view_->performDragOperation(&window_); }, 0},
        {"conclude", [this] { view_->concludeDragOperation(); }, 1},
        {"picture",
         [this] {
             view_->setImage({QStringLiteral("DestinationIcon.png"), QSize(10, 10)});
         },
         1},
    };
    for (const Row &row : rows) {
        QCoreApplication::processEvents();
        const int before = counter.paints();
        row.act();
        QCoreApplication::processEvents();
        EXPECT_EQ(counter.paints() - before, row.paints) << row.what;
    }
}

TEST_F(DestinationView, StrokesTheDirtyRectangleInGrayFivePointsWide) {
    view_->draggingEntered({kType});
    QImage image(view_->size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    view_->render(&image, QPoint(), QRegion(20, 10, 40, 30), QWidget::DrawChildren);
    // Rendered with its upper left corner at the image's: the line reaches 2.5 points into the redrawn part.
    EXPECT_EQ(image.pixelColor(20, 0), kGray);
    EXPECT_EQ(image.pixelColor(20, 1), kGray);
    EXPECT_EQ(image.pixelColor(20, 4), QColor(Qt::blue));
    EXPECT_EQ(image.pixelColor(39, 15), kGray);
    EXPECT_EQ(image.pixelColor(0, 0), kGray);
    EXPECT_EQ(image.pixelColor(60, 45).alpha(), 0);
}

TEST_F(DestinationView, AWholeRedrawStrokesTheBounds) {
    view_->draggingEntered({kType});
    const QImage image = shot(*view_);
    EXPECT_EQ(image.pixelColor(0, 0), kGray);
    EXPECT_EQ(image.pixelColor(1, 30), kGray);
    EXPECT_EQ(image.pixelColor(99, 59), kGray);
    EXPECT_EQ(image.pixelColor(50, 30), QColor(Qt::blue));
}

TEST_F(DestinationView, WithoutAHighlightNothingIsStrokedAndTheLineWidthStays) {
    EXPECT_EQ(shot(*view_).pixelColor(0, 0), QColor(Qt::blue));
    EXPECT_EQ(kyb::defaultLineWidth, 1.0);
}

TEST_F(DestinationView, AfterAHighlightedDrawOtherStrokesAreFivePointsWide) {
    const auto strokedPoints = [] {
        QImage image(40, 40, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::white);
        QPainter painter(&image);
        kyb::strokeRect(painter, QRectF(10, 10, 20, 20), Qt::black);
        int points = 0;
        for (int x = 0; x < 20; ++x) {
            points += image.pixelColor(x, 20) == QColor(Qt::black) ? 1 : 0;
        }
        return points;
    };
    EXPECT_EQ(strokedPoints(), 1);
    view_->draggingEntered({kType});
    shot(*view_);
    view_->draggingExited();
    shot(*view_);
    EXPECT_EQ(kyb::defaultLineWidth, 5.0);
    EXPECT_EQ(strokedPoints(), 5);
}

TEST_F(DestinationView, TheStandardFrameHasTheIconsSizeAtTheWindowsLowerLeftCorner) {
    window_.setGeometry(100, 200, 300, 200);
    sourceIconImage = {QStringLiteral("Any.png"), QSize(64, 48)};
    const QRect own = window_.frameGeometry();
    QWidget other;
    other.show();
    const QMargins frame(other.geometry().left() - other.frameGeometry().left(),
                         other.geometry().top() - other.frameGeometry().top(),
                         other.frameGeometry().right() - other.geometry().right(),
                         other.frameGeometry().bottom() - other.geometry().bottom());
    const QRect content(own.left(), own.bottom() + 1 - 48, 64, 48);
    EXPECT_EQ(view_->windowWillUseStandardFrame(other, QRect(1, 2, 3, 4)), content.marginsAdded(frame));
    EXPECT_EQ(view_->windowWillUseStandardFrame(other, QRect()), content.marginsAdded(frame));
}

TEST_F(DestinationView, WithoutAWindowTheStandardFrameStartsAtZero) {
    KYDestinationView alone;
    sourceIconImage = {QStringLiteral("Any.png"), QSize(64, 48)};
    QWidget bare;
    EXPECT_EQ(alone.windowWillUseStandardFrame(bare, QRect()).size(), QSize(64, 48));
    EXPECT_EQ(alone.windowWillUseStandardFrame(bare, QRect()).bottomLeft(), QPoint(0, -1));
    sourceIconImage = {};
    EXPECT_TRUE(alone.windowWillUseStandardFrame(bare, QRect()).isEmpty());
}

} // namespace
