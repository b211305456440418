#include "ui/views/icns.h"

#include <QtEndian>
#include <algorithm>

namespace kyb {
namespace {

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

} // namespace kyb
