#include "platform/privileges.h"

#include "platform/bundle.h"
#include "platform/posix/connection_events.h"
#include "platform/system_root.h"
#include "posix/file_io.h"

#include <QDir>
#include <QFile>
#include <sys/stat.h>

namespace kyb {

struct OpaqueAdministratorRights {};

namespace {

constexpr std::size_t kMaxHelperBytes = std::size_t{256} << 20;

constexpr std::int32_t kGranted = 0;
constexpr std::int32_t kRefused = -60005;

OpaqueAdministratorRights theRights;

/// Root, and the owner of the folder that plays "/".
bool isAdministrator() {
    struct stat root {};
    return geteuid() == 0 || (stat(QFile::encodeName(systemPath(QStringLiteral("/"))).constData(), &root) == 0 &&
                              root.st_uid == geteuid());
}

} // namespace

std::int32_t requestAdministratorRights(AdministratorRights *rights) {
    if (!isAdministrator()) {
        return kRefused;
    }
    *rights = &theRights;
    return kGranted;
}

bool installHelperTool(const QString &label, AdministratorRights rights, PlatformError *) {
    connectionEvents().wait();
    if (rights == nullptr || label.isEmpty() || label.contains(QLatin1Char('/'))) {
        return false;
    }
    const QString program = bundlePath() + QStringLiteral("/Contents/Library/LaunchServices/") + label;
    const std::optional<std::string> content =
        readAll(openRegularFile(QFile::encodeName(program).toStdString(), O_RDONLY).get(), kMaxHelperBytes);
    const QString folder = systemPath(QStringLiteral("/Library/PrivilegedHelperTools/"));
    // The folder of the service's socket belongs to the registration: without it nobody could be reached.
    return content && QDir().mkpath(systemPath(QStringLiteral("/var/run"))) && QDir().mkpath(folder) &&
           replaceFile(QFile::encodeName(folder + label).toStdString(), *content, {.mode = 0755});
}

} // namespace kyb
