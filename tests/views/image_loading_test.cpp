#include "ui/views/image_loading.h"

#include "TestBundle.h"

#include <QtEndian>

using kyb::bundlePixmap;

namespace {

class ImageLoading : public TestBundle {};

QColor colorOf(const QPixmap &pixmap) {
    return pixmap.toImage().pixelColor(pixmap.width() / 2, pixmap.height() / 2);
}

TEST_F(ImageLoading, TakesTheSharperFileForTheSharperScreen) {
    addPicture(QStringLiteral("A.png"), {32, 32}, Qt::red);
    addPicture(QStringLiteral("A@2x.png"), {64, 64}, Qt::green);
    EXPECT_EQ(colorOf(bundlePixmap(QStringLiteral("A.png"), {32, 32}, 1)), QColor(Qt::red));
    const QPixmap sharp = bundlePixmap(QStringLiteral("A.png"), {32, 32}, 2);
    EXPECT_EQ(colorOf(sharp), QColor(Qt::green));
    EXPECT_EQ(sharp.size(), QSize(64, 64));
    EXPECT_EQ(sharp.deviceIndependentSize().toSize(), QSize(32, 32));
}

TEST_F(ImageLoading, WithoutASizeAPictureHasItsOwn) {
    addPicture(QStringLiteral("A.png"), {30, 20}, Qt::red);
    addPicture(QStringLiteral("A@2x.png"), {60, 40}, Qt::green);
    addPicture(QStringLiteral("B@2x.png"), {10, 8}, Qt::green);
    EXPECT_EQ(bundlePixmap(QStringLiteral("A.png"), {}, 1).size(), QSize(30, 20));
    EXPECT_EQ(bundlePixmap(QStringLiteral("A.png"), {}, 2).size(), QSize(60, 40));
    EXPECT_EQ(bundlePixmap(QStringLiteral("B.png"), {}, 1).size(), QSize(5, 4));
    EXPECT_EQ(kyb::imageSize({QStringLiteral("A.png"), {}}), QSize(30, 20));
    EXPECT_EQ(kyb::imageSize({QStringLiteral("A.png"), {3, 4}}), QSize(3, 4));
    EXPECT_EQ(kyb::imageSize({}), QSize(0, 0));
    EXPECT_EQ(kyb::imageSize({QStringLiteral("None.png"), {}}), QSize(0, 0));
}

TEST_F(ImageLoading, ScalesToExactlyTheSizeAskedFor) {
    addPicture(QStringLiteral("A.png"), {32, 32}, Qt::red);
    EXPECT_EQ(bundlePixmap(QStringLiteral("A.png"), {50, 20}, 1).size(), QSize(50, 20));
    EXPECT_EQ(bundlePixmap(QStringLiteral("A.png"), {33, 33}, 1.5).size(), QSize(50, 50));
}

TEST_F(ImageLoading, FallsBackToTheFileThatIsThere) {
    addPicture(QStringLiteral("A.png"), {32, 32}, Qt::red);
    addPicture(QStringLiteral("B@2x.png"), {64, 64}, Qt::green);
    EXPECT_EQ(colorOf(bundlePixmap(QStringLiteral("A.png"), {32, 32}, 2)), QColor(Qt::red));
    EXPECT_EQ(colorOf(bundlePixmap(QStringLiteral("B.png"), {32, 32}, 1)), QColor(Qt::green));
}

TEST_F(ImageLoading, ANameWithoutAnEndingIsAPng) {
    addPicture(QStringLiteral("A.png"), {32, 32}, Qt::red);
    EXPECT_EQ(colorOf(bundlePixmap(QStringLiteral("A"), {32, 32}, 1)), QColor(Qt::red));
    EXPECT_EQ(kyb::nameWithSuffix(QStringLiteral("A.b.png"), QStringLiteral("_dark")), QStringLiteral("A.b_dark.png"));
    EXPECT_EQ(kyb::nameWithSuffix(QStringLiteral("A"), QStringLiteral("_dark")), QStringLiteral("A_dark"));
}

TEST_F(ImageLoading, MissingAndNamelessPicturesAreNull) {
    EXPECT_TRUE(bundlePixmap(QString(), {32, 32}, 1).isNull());
    EXPECT_TRUE(bundlePixmap(QStringLiteral("None.png"), {32, 32}, 1).isNull());
    EXPECT_TRUE(bundlePixmap(QStringLiteral("None.icns"), {}, 1).isNull());
    EXPECT_TRUE(bundlePixmap(QStringLiteral("."), {32, 32}, 1).isNull());
    EXPECT_FALSE(kyb::bundleHasImage(QStringLiteral("None.png")));
}

TEST_F(ImageLoading, TakesTheBestPictureOfAnIconContainer) {
    addFile(QStringLiteral("A.icns"),
            icns({png({16, 16}, Qt::red), png({256, 256}, Qt::green), png({64, 64}, Qt::blue)}));
    EXPECT_EQ(colorOf(bundlePixmap(QStringLiteral("A.icns"), {16, 16}, 1)), QColor(Qt::red));
    EXPECT_EQ(colorOf(bundlePixmap(QStringLiteral("A.icns"), {32, 32}, 1)), QColor(Qt::blue));
    EXPECT_EQ(colorOf(bundlePixmap(QStringLiteral("A.icns"), {33, 33}, 2)), QColor(Qt::green));
    EXPECT_EQ(colorOf(bundlePixmap(QStringLiteral("A.icns"), {512, 512}, 2)), QColor(Qt::green));
}

TEST_F(ImageLoading, ABrokenIconContainerGivesWhatIsWholeInIt) {
    const QByteArray whole = icns({png({16, 16}, Qt::red), png({64, 64}, Qt::green)});
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const QByteArray picture = kyb::bestIcnsPicture(whole.left(length), 64);
        EXPECT_TRUE(picture.isEmpty() || picture == png({16, 16}, Qt::red)) << length;
    }
    QByteArray lengthZero = whole;
    qToBigEndian<quint32>(0, lengthZero.data() + 12);
    EXPECT_TRUE(kyb::bestIcnsPicture(lengthZero, 64).isEmpty());
    qToBigEndian<quint32>(0xFFFFFFFF, lengthZero.data() + 12);
    EXPECT_TRUE(kyb::bestIcnsPicture(lengthZero, 64).isEmpty());
}

TEST_F(ImageLoading, BrokenFilesAreNull) {
    const QByteArray whole = png({64, 64}, Qt::red);
    addFile(QStringLiteral("Empty.png"), {});
    addFile(QStringLiteral("Noise.png"), QByteArray(1000, '\x5a'));
    addFile(QStringLiteral("Noise.icns"), "icns" + QByteArray(1000, '\xff'));
    addFile(QStringLiteral("Header.png"), whole.left(30));
    for (const char *name : {"Empty.png", "Noise.png", "Noise.icns", "Header.png"}) {
        EXPECT_TRUE(bundlePixmap(QString::fromLatin1(name), {32, 32}, 1).isNull()) << name;
    }
}

TEST_F(ImageLoading, APictureThatClaimsToBeEnormousIsRefused) {
    QByteArray bomb = png({64, 64}, Qt::red);
    qToBigEndian<quint32>(60'000, bomb.data() + 16);
    qToBigEndian<quint32>(60'000, bomb.data() + 20);
    addFile(QStringLiteral("Bomb.png"), bomb);
    addFile(QStringLiteral("Bomb.icns"), icns({bomb}));
    EXPECT_TRUE(bundlePixmap(QStringLiteral("Bomb.png"), {32, 32}, 1).isNull());
    EXPECT_TRUE(bundlePixmap(QStringLiteral("Bomb.png"), {}, 1).isNull());
    EXPECT_TRUE(bundlePixmap(QStringLiteral("Bomb.icns"), {32, 32}, 1).isNull());
}

TEST_F(ImageLoading, ASizeBeyondReasonIsRefused) {
    addPicture(QStringLiteral("A.png"), {32, 32}, Qt::red);
    EXPECT_TRUE(bundlePixmap(QStringLiteral("A.png"), {100'000, 100'000}, 2).isNull());
}

TEST_F(ImageLoading, ReadsAPictureOnce) {
    addPicture(QStringLiteral("A.png"), {32, 32}, Qt::red);
    const QPixmap first = bundlePixmap(QStringLiteral("A.png"), {32, 32}, 1);
    EXPECT_EQ(bundlePixmap(QStringLiteral("A.png"), {32, 32}, 1).cacheKey(), first.cacheKey());
}

} // namespace
