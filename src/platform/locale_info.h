#pragma once

#include <QString>
#include <QStringList>
#include <chrono>

namespace kyb {

// What the current user's locale says. All functions: any thread, never fail; the locale is read once per process.

/// The date and time in the locale's short date style and short time style, without seconds, in local time.
QString shortDateAndTime(std::chrono::system_clock::time_point time);

/// The locale's identifier, for example "en_US".
QString localeIdentifier();

/// The name of the locale \p identifier, in the current locale: "English (United States)" for "en_US".
QString localeDisplayName(const QString &identifier);

/// \p value with exactly two decimals, the locale's decimal separator and no grouping: 1.07, or 1,07.
QString twoDecimals(double value);

/// The languages that the user wants texts in, best first, as folder names of string tables ("de", "en").
/// Always ends with "en".
QStringList preferredLanguages();

} // namespace kyb
