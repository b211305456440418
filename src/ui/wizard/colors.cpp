#include "ui/wizard/colors.h"

#include <algorithm>
#include <cmath>

namespace kyb {
namespace {

constexpr double kReadable = 4.5; ///< the least contrast that the accessibility guidelines ask of running text
constexpr float kStep = 0.05F;

double linear(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor &color) {
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

} // namespace

QColor mixed(const QColor &a, const QColor &b, float shareOfB) {
    const auto mix = [shareOfB](float x, float y) { return x + (y - x) * shareOfB; };
    return QColor::fromRgbF(mix(a.redF(), b.redF()), mix(a.greenF(), b.greenF()), mix(a.blueF(), b.blueF()));
}

double contrast(const QColor &a, const QColor &b) {
    const auto [darker, lighter] = std::minmax({luminance(a), luminance(b)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor readableColor(const QColor &color, const QColor &ground) {
    if (contrast(color, ground) >= kReadable) {
        return color;
    }
    const QColor turned = QColor::fromHslF(color.hslHueF(), color.hslSaturationF(), 1 - color.lightnessF());
    QColor shown = contrast(turned, ground) > contrast(color, ground) ? turned : color;
    const QColor best = contrast(Qt::white, ground) > contrast(Qt::black, ground) ? Qt::white : Qt::black;
    while (contrast(shown, ground) < kReadable) { // NB: white or black is readable on any ground
        shown = mixed(shown, best, kStep);
    }
    return shown;
}

} // namespace kyb
