#include "platform/system_root.h"

#include "posix/NoDestructor.h"

#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace kyb {
namespace {

constexpr std::string_view kUnquotedCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                                                 "._/+,:@%=-";

struct Root {
    bool isSet = false;
    std::string folder; ///< without a trailing slash: empty for "/"
};

Root readRoot() {
    const char *value = std::getenv("KYB_SYSTEM_ROOT");
    if (value == nullptr) {
        return {};
    }
    std::string folder = value;
    const std::size_t end = folder.find_last_not_of('/');
    const bool isSlashesOnly = end == std::string::npos && !folder.empty();
    if (!folder.empty()) {
        folder.resize(isSlashesOnly ? 0 : end + 1);
    }
    return {.isSet = !isSlashesOnly, .folder = folder};
}

const Root &root() {
    static NoDestructor<Root> value(readRoot());
    return *value;
}

bool isFolder(const std::string &path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

} // namespace

QString systemPath(const QString &fixedPath) {
    const QString folder = QString::fromLocal8Bit(root().folder.data(), static_cast<qsizetype>(root().folder.size()));
    return fixedPath == QLatin1String("/") && !folder.isEmpty() ? folder : folder + fixedPath;
}

std::optional<QString> systemRootProblem() {
    if (!root().isSet) {
        return {};
    }
    const std::string &folder = root().folder;
    if (folder.empty() || folder.front() != '/') {
        return QStringLiteral("KYB_SYSTEM_ROOT must name an absolute folder.");
    }
    if (folder.find_first_not_of(kUnquotedCharacters) != std::string::npos) {
        return QStringLiteral("KYB_SYSTEM_ROOT must name a folder whose name needs no quoting in a shell.");
    }
    if (!isFolder(folder)) {
        return QStringLiteral("KYB_SYSTEM_ROOT must name an existing folder.");
    }
    return {};
}

} // namespace kyb
