#include "platform/bundle.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace kyb {

QString bundlePath() {
    const QString program = QFile::symLinkTarget(QStringLiteral("/proc/self/exe")); // <bundle>/Contents/MacOS/<program>
    return QDir::cleanPath(QFileInfo(program).path() + QStringLiteral("/../.."));
}

} // namespace kyb
