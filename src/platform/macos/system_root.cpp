#include "platform/system_root.h"

namespace kyb {

QString systemPath(const QString &fixedPath) {
    return fixedPath;
}

std::optional<QString> systemRootProblem() {
    return std::nullopt;
}

} // namespace kyb
