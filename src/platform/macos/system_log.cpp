#include "platform/system_log.h"

#include "platform/macos/cf_string.h"
#include "posix/UniqueFd.h"
#include "posix/file_io.h"

// Foundation's own header can only be read by Objective-C; the function has C linkage, and a CFString is an NSString.
extern "C" void NSLog(CFStringRef format, ...);

namespace kyb {
namespace {

/// For whoever reads standard error, but has stopped to.
constexpr std::chrono::seconds kReaderTimeout{5};

/// NB: NSLog writes to the system's log and to standard error, and waits for its reader.
void forsakeStuckReader() {
    if (!waitForRoom(STDERR_FILENO, kReaderTimeout)) {
        const UniqueFd nobody(open("/dev/null", O_WRONLY | O_CLOEXEC));
        dup2(nobody.get(), STDERR_FILENO);
    }
}

} // namespace

void systemLog(const QString &message) {
    static const CFOwned<CFStringRef> format = toCFString(QStringLiteral("%@\n"));
    forsakeStuckReader();
    NSLog(format.get(), toCFString(message).get());
}

} // namespace kyb
