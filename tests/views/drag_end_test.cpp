#include "ui/views/drag_session.h"

#include "TestBundle.h"

#include <QApplication>
#include <QDrag>
#include <QMouseEvent>
#include <QPainter>
#include <QProxyStyle>
#include <QTimer>
#include <optional>

using kyb::DraggingContext;
using kyb::DragOperation;
using kyb::DragSession;

namespace {

class DragEnd : public TestBundle {
protected:
    DragEnd() {
        window_.setGeometry(100, 100, 200, 150);
        window_.show();
    }
    void send(QEvent::Type type, QPoint where) {
        QMouseEvent event(type, window_.mapFromGlobal(where), where, Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(&window_, &event);
    }
    static QWidget *ghost() {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            if (window->objectName() == QStringLiteral("slideBack")) {
                return window;
            }
        }
        return nullptr;
    }
    DragSession::OperationMask countingMask() {
        return [this](DraggingContext) {
            ++asked_;
            return DragOperation::Copy;
        };
    }
    QPixmap picture() const {
        QPixmap pixmap(40, 40);
        pixmap.fill(Qt::red);
        return pixmap;
    }
    QWidget window_;
    int asked_ = 0;
};

TEST_F(DragEnd, OnlyTheReleaseIsHeldAgainstWhatTheSourceAllows) {
    QDrag drag(&window_);
    std::optional<DraggingContext> asked;
    const DragSession session(&drag, QPoint(7, 8), [&](DraggingContext context) {
        asked = context;
        return DragOperation::Copy;
    });
    EXPECT_EQ(session.lastPosition(), QPoint(7, 8));
    QCoreApplication::processEvents();
    send(QEvent::MouseMove, QPoint(150, 160));
    EXPECT_FALSE(asked);
    EXPECT_EQ(session.lastPosition(), QPoint(150, 160));
    send(QEvent::MouseButtonRelease, QPoint(160, 170));
    EXPECT_EQ(asked, DraggingContext::OutsideApplication); // no view has taken the drag
    EXPECT_EQ(session.lastPosition(), QPoint(160, 170));
}

TEST_F(DragEnd, AReleaseDuringTheFirstTurnOfTheLoopIsSeen) {
    QDrag drag(&window_);
    const DragSession session(&drag, QPoint(), countingMask());
    QTimer::singleShot(0, &window_, [&] { send(QEvent::MouseButtonRelease, QPoint(160, 170)); });
    EXPECT_TRUE(kyb::test::turnUntil([&] { return asked_ == 1; }));
}

TEST_F(DragEnd, TheSessionEndsWithTheDrag) {
    {
        QDrag drag(&window_);
        const DragSession session(&drag, QPoint(), countingMask());
        QCoreApplication::processEvents();
        send(QEvent::MouseButtonRelease, QPoint(160, 170));
        EXPECT_EQ(asked_, 1);
    }
    send(QEvent::MouseButtonRelease, QPoint(160, 170));
    EXPECT_EQ(asked_, 1);
}

TEST_F(DragEnd, WhereTheSystemCarriesTheDragTheReleaseBehindItCancelsNothing) {
    letSystemCarryDrags();
    QDrag drag(&window_);
    const DragSession session(&drag, QPoint(7, 8), countingMask());
    QCoreApplication::processEvents();
    send(QEvent::MouseButtonRelease, QPoint(160, 170));
    EXPECT_EQ(asked_, 0);
}

TEST_F(DragEnd, ADropOnAnotherProgramIsNone) {
    const auto inside = DraggingContext::WithinApplication;
    const auto outside = DraggingContext::OutsideApplication;
    EXPECT_EQ(DragSession::endOf(DragOperation::Copy, inside), DragSession::End::Dropped);
    EXPECT_EQ(DragSession::endOf(DragOperation::Copy, outside), DragSession::End::CancelledOrFailed);
    EXPECT_EQ(DragSession::endOf(DragOperation::None, inside), DragSession::End::CancelledOrFailed);
    EXPECT_EQ(DragSession::endOf(DragOperation::None, outside), DragSession::End::CancelledOrFailed);
}

TEST_F(DragEnd, WhatTheSystemSlidesBackDoesNotGlideAsWell) {
    letSystemCarryDrags();
    kyb::slideBack(window_, picture(), QPoint(900, 900));
    EXPECT_EQ(ghost(), nullptr);
}

TEST_F(DragEnd, ThePictureGlidesHomeAndIsGone) {
    const QPoint home = window_.mapToGlobal(QPoint(0, 0));
    kyb::slideBack(window_, picture(), home + QPoint(300, 200));
    ASSERT_NE(ghost(), nullptr);
    EXPECT_EQ(ghost()->pos(), home + QPoint(300, 200));
    EXPECT_TRUE(ghost()->testAttribute(Qt::WA_ShowWithoutActivating));
    EXPECT_TRUE(ghost()->windowFlags().testFlag(Qt::WindowTransparentForInput));
    EXPECT_TRUE(ghost()->windowFlags().testFlag(Qt::FramelessWindowHint));
    QPoint last;
    EXPECT_TRUE(kyb::test::turnUntil([&] {
        last = ghost() != nullptr ? ghost()->pos() : last;
        return ghost() == nullptr;
    }));
    EXPECT_LT((last - home).manhattanLength(), 100);
}

TEST_F(DragEnd, TheSoftEdgesOfThePictureAreShownOnOpaqueGround) {
    QImage disc(40, 40, QImage::Format_ARGB32_Premultiplied);
    disc.fill(Qt::transparent);
    QPainter painter(&disc);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::red);
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(5, 5, 30, 30);
    painter.end();
    kyb::slideBack(window_, QPixmap::fromImage(disc), QPoint(900, 900));
    ASSERT_NE(ghost(), nullptr);
    int soft = 0;
    for (int place = 0; place < 40 * 40; ++place) {
        const QPoint at(place % 40, place / 40);
        const int alpha = qAlpha(disc.pixel(at));
        soft += alpha > 32 && alpha < 128 ? 1 : 0;
        EXPECT_TRUE(alpha <= 32 || ghost()->mask().contains(at)) << at.x() << ',' << at.y();
        EXPECT_FALSE(alpha == 0 && ghost()->mask().contains(at)) << at.x() << ',' << at.y();
    }
    EXPECT_GT(soft, 8);
    EXPECT_FALSE(ghost()->testAttribute(Qt::WA_TranslucentBackground));
    EXPECT_TRUE(kyb::test::turnUntil([] { return ghost() == nullptr; })); // else it is there in the next test
}

TEST_F(DragEnd, AClickDoesNotGlide) {
    kyb::slideBack(window_, picture(), window_.mapToGlobal(QPoint(2, 1)));
    EXPECT_EQ(ghost(), nullptr);
}

TEST_F(DragEnd, WithoutAPictureOrAVisibleViewNothingGlides) {
    kyb::slideBack(window_, QPixmap(), QPoint(900, 900));
    EXPECT_EQ(ghost(), nullptr);
    window_.hide();
    kyb::slideBack(window_, picture(), QPoint(900, 900));
    EXPECT_EQ(ghost(), nullptr);
}

TEST_F(DragEnd, WhoWantsNoAnimationsSeesNone) {
    class Still : public QProxyStyle {
        int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                      QStyleHintReturn *data) const override {
            return hint == SH_Widget_Animation_Duration ? 0 : QProxyStyle::styleHint(hint, option, widget, data);
        }
    } still;
    window_.setStyle(&still);
    kyb::slideBack(window_, picture(), QPoint(900, 900));
    EXPECT_EQ(ghost(), nullptr);
    window_.setStyle(nullptr);
}

} // namespace
