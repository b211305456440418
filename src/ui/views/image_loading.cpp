#include "ui/views/image_loading.h"

#include "text/resources.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QPixmapCache>
#include <QtEndian>
#include <algorithm>
#include <cmath>

namespace kyb {
namespace {

constexpr int kLongestSidePixels = 4096;
constexpr qint64 kLargestFileBytes = qint64{32} * 1024 * 1024;
constexpr int kAllocationLimitMegabytes = 80; // what a picture of the longest sides needs, and a little

/// Where a picture can be taken from. An empty path: from nowhere.
struct Source {
    QString path;     ///< the picture at one pixel to the point, or the icon container
    QString pathAt2x; ///< the same at two
    bool isContainer() const { return path.endsWith(QLatin1String(".icns"), Qt::CaseInsensitive); }
};

Source findSource(const QString &name) {
    if (name.isEmpty()) {
        return {};
    }
    const QString fileName = QFileInfo(name).suffix().isEmpty() ? name + QStringLiteral(".png") : name;
    return {resourcePath(fileName), resourcePath(nameWithSuffix(fileName, QStringLiteral("@2x")))};
}

QByteArray fileContents(const QString &path) {
    QFile file(path);
    if (path.isEmpty() || !QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly) ||
        file.size() > kLargestFileBytes) {
        return {};
    }
    return file.read(kLargestFileBytes);
}

bool isReasonable(QSize pixels) {
    return !pixels.isEmpty() && std::max(pixels.width(), pixels.height()) <= kLongestSidePixels;
}

QImage decode(QByteArray bytes) {
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    QImageReader::setAllocationLimit(kAllocationLimitMegabytes);
    return isReasonable(reader.size()) ? reader.read() : QImage();
}

QSize sizeInHeader(const QString &path) {
    const QSize size = QFileInfo(path).isFile() ? QImageReader(path).size() : QSize();
    return isReasonable(size) ? size : QSize();
}

/// A picture's own size in points: that of the file with one pixel to the point.
QSize ownSize(const Source &source) {
    if (source.isContainer()) {
        return decode(bestIcnsPicture(fileContents(source.path), 1)).size();
    }
    const QSize size = sizeInHeader(source.path);
    return size.isEmpty() ? sizeInHeader(source.pathAt2x) / 2 : size;
}

QImage load(const Source &source, QSize pixels) {
    if (source.isContainer()) {
        return decode(bestIcnsPicture(fileContents(source.path), std::max(pixels.width(), pixels.height())));
    }
    const QSize size = sizeInHeader(source.path);
    const bool isLargeEnough = size.width() >= pixels.width() && size.height() >= pixels.height();
    const QImage first = decode(fileContents(isLargeEnough ? source.path : source.pathAt2x));
    return first.isNull() ? decode(fileContents(isLargeEnough ? source.pathAt2x : source.path)) : first;
}

constexpr qsizetype kHeaderBytes = 8;     // of the container and of each entry: a type and a length, which counts it
constexpr qsizetype kPngWidthOffset = 16; // a PNG file begins with its signature and the header chunk,
constexpr qsizetype kPngHeaderEnd = 24;   // whose first two numbers are the width and the height
constexpr char kPngSignature[] = "\x89PNG\r\n\x1a\n";

quint32 bigEndian32(const QByteArray &bytes, qsizetype offset) {
    return qFromBigEndian<quint32>(bytes.constData() + offset);
}

/// The longer side of a PNG picture in pixels; 0 when it is none.
quint32 pngSide(const QByteArray &png) {
    if (png.size() < kPngHeaderEnd || !png.startsWith(kPngSignature)) {
        return 0;
    }
    return std::max(bigEndian32(png, kPngWidthOffset), bigEndian32(png, kPngWidthOffset + 4));
}

bool fitsBetter(quint32 side, quint32 best, quint32 wanted) {
    return best < wanted ? side > best : side >= wanted && side < best;
}

} // namespace

QByteArray bestIcnsPicture(const QByteArray &container, int pixels) {
    QByteArray best;
    if (!container.startsWith("icns")) {
        return best;
    }
    quint32 bestSide = 0;
    for (qsizetype at = kHeaderBytes; at + kHeaderBytes <= container.size();) {
        const qsizetype length = bigEndian32(container, at + 4);
        if (length < kHeaderBytes || length > container.size() - at) {
            break;
        }
        const QByteArray picture = container.mid(at + kHeaderBytes, length - kHeaderBytes);
        if (const quint32 side = pngSide(picture); fitsBetter(side, bestSide, quint32(std::max(pixels, 1)))) {
            best = picture;
            bestSide = side;
        }
        at += length;
    }
    return best;
}

QString nameWithSuffix(const QString &name, const QString &suffix) {
    const qsizetype ending = QFileInfo(name).suffix().isEmpty() ? name.size() : name.lastIndexOf(u'.');
    return name.left(ending) + suffix + name.mid(ending);
}

bool bundleHasImage(const QString &name) {
    const Source source = findSource(name);
    return !source.path.isEmpty() || !source.pathAt2x.isEmpty();
}

QSize imageSize(const NamedImage &image) {
    const QSize size = image.size.isEmpty() ? ownSize(findSource(image.name)) : image.size;
    return image.name.isEmpty() || size.isEmpty() ? QSize(0, 0) : size;
}

QPixmap bundlePixmap(const QString &name, QSize points, double devicePixelRatio) {
    const Source source = findSource(name);
    const QSize shown = points.isEmpty() ? ownSize(source) : points;
    const QSize pixels(int(std::lround(shown.width() * devicePixelRatio)),
                       int(std::lround(shown.height() * devicePixelRatio)));
    if (!isReasonable(pixels)) {
        return {};
    }
    const QString key = QStringLiteral("%1|%2|%3x%4|%5")
                            .arg(source.path, source.pathAt2x)
                            .arg(pixels.width())
                            .arg(pixels.height())
                            .arg(devicePixelRatio);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap)) {
        return pixmap;
    }
    const QImage image = load(source, pixels);
    if (image.isNull()) {
        return {};
    }
    pixmap = QPixmap::fromImage(image.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    pixmap.setDevicePixelRatio(devicePixelRatio);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

} // namespace kyb
