#include "platform/privileges.h"

#include "platform/bundle.h"
#include "platform/linux/missing_helper_events.h"
#include "platform/system_root.h"
#include "posix/UniqueFd.h"

#include <QDir>
#include <QFile>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>

namespace kyb {

struct OpaqueAdministratorRights {};

namespace {

constexpr std::int32_t kGranted = 0;
constexpr std::int32_t kRefused = -60005;

OpaqueAdministratorRights theRights;

/// Root, and the owner of the folder that plays "/".
bool isAdministrator() {
    struct stat root {};
    return geteuid() == 0 || (stat(QFile::encodeName(systemPath(QStringLiteral("/"))).constData(), &root) == 0 &&
                              root.st_uid == geteuid());
}

bool writeAll(int fd, const QByteArray &content) {
    QFile file;
    return file.open(fd, QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(content) == content.size();
}

/// Puts a program of \p content at \p path, in one step: who starts it meets the old program or the new one, whole.
bool replaceProgram(const QString &path, const QByteArray &content) {
    QByteArray temporary = QFile::encodeName(path) + ".XXXXXX";
    const UniqueFd file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) {
        return false;
    }
    const bool done = writeAll(file.get(), content) && fchmod(file.get(), 0755) == 0 &&
                      std::rename(temporary.constData(), QFile::encodeName(path).constData()) == 0;
    if (!done) {
        unlink(temporary.constData());
    }
    return done;
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
    waitForEventTickets();
    QFile program(bundlePath() + QStringLiteral("/Contents/Library/LaunchServices/") + label);
    if (rights == nullptr || label.isEmpty() || label.contains(QLatin1Char('/')) ||
        !program.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QByteArray content = program.readAll();
    const QString folder = systemPath(QStringLiteral("/Library/PrivilegedHelperTools/"));
    // The folder of the service's socket belongs to the registration: without it nobody could be reached.
    return program.error() == QFileDevice::NoError && QDir().mkpath(systemPath(QStringLiteral("/var/run"))) &&
           QDir().mkpath(folder) && replaceProgram(folder + label, content);
}

} // namespace kyb
