#include "platform/system_log.h"

#include "platform/macos/cf_string.h"
#include "posix/Mutex.h"
#include "posix/NoDestructor.h"
#include "posix/UniqueFd.h"
#include "posix/file_io.h"

// Foundation's own header can only be read by Objective-C; the function has C linkage, and a CFString is an NSString.
extern "C" void NSLog(CFStringRef format, ...);

namespace kyb {
namespace {

/// For whoever reads standard error, but has stopped to.
constexpr std::chrono::seconds kReaderTimeout{5};

/// Standard error, as NSLog may write to it: it writes to the system's log and there, and waits for the reader. While
/// that one reads nothing, nobody's file stands in its place.
class StandardError {
public:
    void makeReady() {
        const MutexLock lock(mutex_);
        if (!stuck_ && !waitForRoom(STDERR_FILENO, kReaderTimeout)) {
            stuck_ = UniqueFd(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0));
            const UniqueFd nobody(open("/dev/null", O_WRONLY | O_CLOEXEC));
            dup2(nobody.get(), STDERR_FILENO);
        } else if (stuck_ && waitForRoom(stuck_.get(), std::chrono::milliseconds(0))) {
            dup2(stuck_.get(), STDERR_FILENO);
            stuck_.reset();
        }
    }

private:
    Mutex mutex_;
    UniqueFd stuck_ GUARDED_BY(mutex_);
};

} // namespace

void systemLog(const QString &message) {
    static const CFOwned<CFStringRef> format = toCFString(QStringLiteral("%@\n"));
    static NoDestructor<StandardError> standardError;
    (*standardError).makeReady();
    NSLog(format.get(), toCFString(message).get());
}

} // namespace kyb
