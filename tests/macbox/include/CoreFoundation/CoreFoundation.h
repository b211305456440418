#pragma once

// Declarations of the system's CoreFoundation interface, as far as this program uses it, written after the pages of
// "Core Foundation" in the system's developer documentation that the sections name.

#include <cstdint>

extern "C" {

// "Core Foundation Data Types", "CFType", "CFAllocator"
using Boolean = unsigned char;
using UInt8 = unsigned char;
using UInt32 = std::uint32_t;
using SInt32 = std::int32_t;
using OSStatus = SInt32;
using UniChar = std::uint16_t;
using CFIndex = long;
using CFTypeID = unsigned long;
using CFOptionFlags = unsigned long;
using CFTypeRef = const void *;
using CFAllocatorRef = const struct __CFAllocator *;
extern const CFAllocatorRef kCFAllocatorDefault;

struct CFRange {
    CFIndex location;
    CFIndex length;
};
static inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
    return {location, length};
}

CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);

// "CFString"
using CFStringRef = const struct __CFString *;
using CFStringEncoding = UInt32;
CFTypeID CFStringGetTypeID();
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator, const UniChar *characters, CFIndex count);
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char *text, CFStringEncoding encoding);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8 *bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
CFStringEncoding CFStringConvertWindowsCodepageToEncoding(UInt32 codePage);
CFIndex CFStringGetLength(CFStringRef string);
void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar *buffer);
enum : CFStringEncoding { kCFStringEncodingInvalidId = 0xFFFFFFFF, kCFStringEncodingUTF8 = 0x08000100 };

// "CFNumber", "CFBoolean"
using CFNumberRef = const struct __CFNumber *;
using CFBooleanRef = const struct __CFBoolean *;
using CFNumberType = CFIndex;
enum : CFNumberType { kCFNumberSInt64Type = 4, kCFNumberIntType = 9, kCFNumberDoubleType = 13 };
CFTypeID CFNumberGetTypeID();
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void *value);
Boolean CFNumberIsFloatType(CFNumberRef number);
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void *value);
CFTypeID CFBooleanGetTypeID();
Boolean CFBooleanGetValue(CFBooleanRef boolean);
extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;

// "CFData", "CFDictionary", "CFArray", "CFError"
using CFDataRef = const struct __CFData *;
using CFDictionaryRef = const struct __CFDictionary *;
using CFArrayRef = const struct __CFArray *;
using CFErrorRef = struct __CFError *;
CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8 *bytes, CFIndex length);
CFTypeID CFDictionaryGetTypeID();
const void *CFDictionaryGetValue(CFDictionaryRef dictionary, const void *key);
CFIndex CFArrayGetCount(CFArrayRef array);
const void *CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

// "CFPropertyList"
using CFPropertyListRef = CFTypeRef;
enum : CFOptionFlags { kCFPropertyListImmutable = 0 };
enum CFPropertyListFormat : CFIndex { kCFPropertyListXMLFormat_v1_0 = 100, kCFPropertyListBinaryFormat_v1_0 = 200 };
CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef allocator, CFDataRef data, CFOptionFlags options,
                                               CFPropertyListFormat *format, CFErrorRef *error);

// "CFURL", "CFBundle"
using CFURLRef = const struct __CFURL *;
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8 *path, CFIndex length,
                                                 Boolean isDirectory);
Boolean CFURLCopyResourcePropertyForKey(CFURLRef url, CFStringRef key, void *value, CFErrorRef *error);
enum CFURLPathStyle : CFIndex { kCFURLPOSIXPathStyle = 0 };
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);
using CFBundleRef = struct __CFBundle *;
CFBundleRef CFBundleGetMainBundle();
CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);
extern const CFStringRef kCFURLLocalizedNameKey;
extern const CFStringRef kCFURLVolumeAvailableCapacityKey;

// "CFLocale"
using CFLocaleRef = const struct __CFLocale *;
using CFLocaleKey = CFStringRef;
CFLocaleRef CFLocaleCopyCurrent();
CFStringRef CFLocaleGetIdentifier(CFLocaleRef locale);
CFStringRef CFLocaleCopyDisplayNameForPropertyValue(CFLocaleRef displayLocale, CFLocaleKey key, CFStringRef value);
CFArrayRef CFLocaleCopyPreferredLanguages();
extern const CFLocaleKey kCFLocaleIdentifier;

// "CFDate", "CFDateFormatter"
using CFAbsoluteTime = double;
using CFTimeInterval = double;
extern const CFTimeInterval kCFAbsoluteTimeIntervalSince1970;
using CFDateFormatterRef = struct __CFDateFormatter *;
enum CFDateFormatterStyle : CFIndex {
    kCFDateFormatterNoStyle = 0,
    kCFDateFormatterShortStyle = 1,
    kCFDateFormatterMediumStyle = 2,
    kCFDateFormatterLongStyle = 3,
    kCFDateFormatterFullStyle = 4
};
CFDateFormatterRef CFDateFormatterCreate(CFAllocatorRef allocator, CFLocaleRef locale, CFDateFormatterStyle dateStyle,
                                         CFDateFormatterStyle timeStyle);
CFStringRef CFDateFormatterCreateStringWithAbsoluteTime(CFAllocatorRef allocator, CFDateFormatterRef formatter,
                                                        CFAbsoluteTime time);

// "CFNumberFormatter"
using CFNumberFormatterRef = struct __CFNumberFormatter *;
using CFNumberFormatterKey = CFStringRef;
enum CFNumberFormatterStyle : CFIndex { kCFNumberFormatterNoStyle = 0, kCFNumberFormatterDecimalStyle = 1 };
extern const CFNumberFormatterKey kCFNumberFormatterMinFractionDigits;
extern const CFNumberFormatterKey kCFNumberFormatterMaxFractionDigits;
extern const CFNumberFormatterKey kCFNumberFormatterUseGroupingSeparator;
CFNumberFormatterRef CFNumberFormatterCreate(CFAllocatorRef allocator, CFLocaleRef locale,
                                             CFNumberFormatterStyle style);
void CFNumberFormatterSetProperty(CFNumberFormatterRef formatter, CFStringRef key, CFTypeRef value);
CFStringRef CFNumberFormatterCreateStringWithValue(CFAllocatorRef allocator, CFNumberFormatterRef formatter,
                                                   CFNumberType type, const void *value);

} // extern "C"
