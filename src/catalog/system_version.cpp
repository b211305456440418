#include "catalog/system_version.h"

#include <QList>
#include <QString>
#include <cstdlib>

namespace kyb {

SystemVersion parseSystemVersion(QStringView productVersion) {
    const QList<QStringView> pieces = productVersion.split(u'.');
    SystemVersion version;
    version.major = integerValue(pieces.value(0));
    version.minor = integerValue(pieces.value(1));
    return version;
}

std::int32_t integerValue(QStringView text) {
    // NB: the cut to 32 bits is part of what the number means: 4294967297 reads as 1.
    return static_cast<std::int32_t>(std::strtoll(text.toLatin1().constData(), nullptr, 10));
}

} // namespace kyb
