#include "platform/system_log.h"

#include "platform/macos/cf_string.h"

// Foundation's own header can only be read by Objective-C; the function has C linkage, and a CFString is an NSString.
extern "C" void NSLog(CFStringRef format, ...);

namespace kyb {

void systemLog(const QString &message) {
    static const CFOwned<CFStringRef> format = toCFString(QStringLiteral("%@\n"));
    NSLog(format.get(), toCFString(message).get());
}

} // namespace kyb
