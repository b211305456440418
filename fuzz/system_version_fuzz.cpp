// The system's property list of any bytes, as the program reads it: from a file, behind the guard, and whatever it
// accepts the library survives.

#include "catalog/versions.h"
#include "platform/property_list.h"
#include "posix/UniqueFd.h"
#include "promise.h"

#include <cstddef>
#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const kyb::UniqueFd file(memfd_create("SystemVersion", MFD_CLOEXEC));
    if (::write(file.get(), data, size) != static_cast<ssize_t>(size)) {
        return 0;
    }
    const QString path = QStringLiteral("/proc/self/fd/%1").arg(file.get());
    for (const QString &key : {QStringLiteral("ProductVersion"), QStringLiteral("PackageVersion"), QString()}) {
        const std::optional<QString> value = kyb::propertyListValue(path, key);
        require(value == kyb::propertyListValue(path, key));
        kyb::parseSystemVersion(value.value_or(QString()));
    }
    return 0;
}
