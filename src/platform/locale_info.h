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

/// The languages that the user wants texts in, best first, as names of folders of string tables without their ending,
/// spelt as the system spells them: "de-AT", "de", "zh-Hant-TW", "zh-TW", "zh-Hant", "zh", "en". Each is followed by
/// the more general ones, none by another script: who reads "zh-Hant" is never given "zh-Hans". Always ends with "en".
QStringList preferredLanguages();

} // namespace kyb
