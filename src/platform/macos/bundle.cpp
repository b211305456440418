#include "platform/bundle.h"

#include "platform/macos/cf_string.h"

namespace kyb {

QString bundlePath() {
    const CFOwned url(CFBundleCopyBundleURL(CFBundleGetMainBundle()));
    const CFOwned path(CFURLCopyFileSystemPath(url.get(), kCFURLPOSIXPathStyle));
    return fromCFString(path.get());
}

} // namespace kyb
