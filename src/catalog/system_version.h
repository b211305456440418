#pragma once

#include <QStringView>
#include <cstdint>

namespace kyb {

struct SystemVersion {
    std::int32_t major = 0;
    std::int32_t minor = 0;
};

/// The first two numbers of a dotted version text such as "10.15.7"; a number that is not there is 0. Pure.
SystemVersion parseSystemVersion(QStringView productVersion);

/// The leading decimal number of \p text, 0 when it has none. It may have blanks and a sign in front, is limited to 64
/// bits and then cut to 32. Pure.
std::int32_t integerValue(QStringView text);

} // namespace kyb
