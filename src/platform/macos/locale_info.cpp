#include "platform/locale_info.h"

#include "platform/macos/cf_string.h"
#include "platform/posix/languages.h"
#include "posix/NoDestructor.h"

namespace kyb {
namespace {

CFLocaleRef currentLocale() {
    static const CFLocaleRef locale = CFLocaleCopyCurrent(); // lives as long as the process
    return locale;
}

CFAbsoluteTime absoluteTime(std::chrono::system_clock::time_point time) {
    const std::chrono::duration<double> since1970 = time.time_since_epoch();
    return since1970.count() - kCFAbsoluteTimeIntervalSince1970;
}

QStringList wantedTags() {
    const CFOwned tags(CFLocaleCopyPreferredLanguages());
    QStringList wanted;
    for (CFIndex i = 0; i < CFArrayGetCount(tags.get()); ++i) {
        wanted << fromCFString(static_cast<CFStringRef>(CFArrayGetValueAtIndex(tags.get(), i)));
    }
    return wanted;
}

void setLeastFractionDigits(CFNumberFormatterRef formatter, int digits) {
    const CFOwned number(CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &digits));
    CFNumberFormatterSetProperty(formatter, kCFNumberFormatterMinFractionDigits, number.get());
}

} // namespace

QString shortDateAndTime(std::chrono::system_clock::time_point time) {
    // A formatter may be used by one thread at a time, and to make one costs far more than to use it.
    thread_local const CFOwned formatter(CFDateFormatterCreate(kCFAllocatorDefault, currentLocale(),
                                                               kCFDateFormatterShortStyle, kCFDateFormatterShortStyle));
    const CFOwned text(
        CFDateFormatterCreateStringWithAbsoluteTime(kCFAllocatorDefault, formatter.get(), absoluteTime(time)));
    return fromCFString(text.get());
}

QString localeIdentifier() {
    return fromCFString(CFLocaleGetIdentifier(currentLocale()));
}

QString localeDisplayName(const QString &identifier) {
    const CFOwned name(
        CFLocaleCopyDisplayNameForPropertyValue(currentLocale(), kCFLocaleIdentifier, toCFString(identifier).get()));
    return name ? fromCFString(name.get()) : identifier;
}

QString twoDecimals(double value) {
    const double rounded = QString::number(value, 'f', 2).toDouble(); // as printf rounds: by the exact binary value
    const CFOwned formatter(
        CFNumberFormatterCreate(kCFAllocatorDefault, currentLocale(), kCFNumberFormatterDecimalStyle));
    setLeastFractionDigits(formatter.get(), 2); // a rounded one has no more
    CFNumberFormatterSetProperty(formatter.get(), kCFNumberFormatterUseGroupingSeparator, kCFBooleanFalse);
    const CFOwned text(
        CFNumberFormatterCreateStringWithValue(kCFAllocatorDefault, formatter.get(), kCFNumberDoubleType, &rounded));
    return fromCFString(text.get());
}

QStringList preferredLanguages() {
    static NoDestructor<QStringList> languages(tableLanguages(wantedTags()));
    return *languages;
}

} // namespace kyb
