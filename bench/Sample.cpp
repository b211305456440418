#include "Sample.h"

#include <algorithm>
#include <cmath>

double Sample::quantile(double part) const {
    std::vector<double> sorted = values_;
    std::sort(sorted.begin(), sorted.end());
    const auto last = static_cast<double>(sorted.size() - 1);
    return sorted.at(static_cast<std::size_t>(std::lround(part * last)));
}

QString Sample::text(const char *unit) const {
    return QStringLiteral("median %1 %4 (min %2, max %3, n %5)")
        .arg(median(), 0, 'f', 2)
        .arg(quantile(0), 0, 'f', 2)
        .arg(quantile(1), 0, 'f', 2)
        .arg(QString::fromLatin1(unit))
        .arg(size());
}
