#include "CoreFoundation.h"

#include "box.h"
#include "posix/Plist.h"
#include "posix/plist_guard.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <plist/plist.h>
#include <sstream>
#include <sys/statvfs.h>
#include <unicode/datefmt.h>
#include <unicode/decimfmt.h>
#include <unicode/locid.h>
#include <unicode/numfmt.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <vector>

namespace {

enum Type : CFTypeID {
    String = 7,
    Number,
    Truth,
    Data,
    Dictionary,
    Array,
    Locale,
    DateFormat,
    NumberFormat,
    Url,
    Other ///< of other interfaces
};

struct Object {
    explicit Object(Type type) : type(type) { macbox::countObject(+1); }
    virtual ~Object() { macbox::countObject(-1); }
    Type type;
    std::atomic<int> references{1};
};

struct Text : Object {
    explicit Text(icu::UnicodeString value) : Object(String), value(std::move(value)) {}
    icu::UnicodeString value;
};
struct NumberObject : Object {
    NumberObject(bool isFloat, double real, std::int64_t integer)
        : Object(Number), isFloat(isFloat), real(real), integer(integer) {}
    bool isFloat;
    double real;
    std::int64_t integer;
};
struct TruthObject : Object {
    explicit TruthObject(bool value) : Object(Truth), value(value) {}
    bool value;
};
struct DataObject : Object {
    explicit DataObject(std::string bytes) : Object(Data), bytes(std::move(bytes)) {}
    std::string bytes;
};
struct DictionaryObject : Object {
    DictionaryObject() : Object(Dictionary) {}
    ~DictionaryObject() override {
        for (auto &[key, value] : values) {
            CFRelease(value);
        }
    }
    std::map<std::string, CFTypeRef> values;
};
struct ArrayObject : Object {
    ArrayObject() : Object(Array) {}
    ~ArrayObject() override {
        for (CFTypeRef value : values) {
            CFRelease(value);
        }
    }
    std::vector<CFTypeRef> values;
};
struct LocaleObject : Object {
    explicit LocaleObject(const icu::Locale &locale)
        : Object(Locale), locale(locale), identifier(new Text(icu::UnicodeString(locale.getName()))) {}
    ~LocaleObject() override { CFRelease(identifier); }
    icu::Locale locale;
    Text *identifier;
};
struct DateFormatObject : Object {
    explicit DateFormatObject(icu::DateFormat *format) : Object(DateFormat), format(format) {}
    std::unique_ptr<icu::DateFormat> format;
};
struct NumberFormatObject : Object {
    explicit NumberFormatObject(icu::NumberFormat *format) : Object(NumberFormat), format(format) {}
    std::unique_ptr<icu::NumberFormat> format;
};
struct UrlObject : Object {
    explicit UrlObject(std::string path) : Object(Url), path(std::move(path)) {}
    std::string path;
};

struct OtherObject : Object {
    explicit OtherObject(std::any value) : Object(Other), value(std::move(value)) {}
    std::any value;
};

template <typename T> T *as(CFTypeRef object) {
    return static_cast<T *>(static_cast<Object *>(const_cast<void *>(object)));
}
template <typename Ref> Ref ref(Object *object) {
    return reinterpret_cast<Ref>(object);
}
Object *object(CFTypeRef any) {
    return static_cast<Object *>(const_cast<void *>(any));
}

/// A constant of the system's: lives for ever and is not counted.
template <typename T, typename... Arguments> T *constant(Arguments... arguments) {
    auto *made = new T(arguments...);
    macbox::countObject(-1);
    made->references = 1'000'000;
    return made;
}
CFStringRef constantText(const char *text) {
    return ref<CFStringRef>(constant<Text>(icu::UnicodeString(text)));
}

Object *fromPlist(plist_t node);

Object *dictionaryFromPlist(plist_t node) {
    auto *dictionary = new DictionaryObject;
    kyb::eachEntry(node, [&](const char *key, plist_t value) { dictionary->values[key] = fromPlist(value); });
    return dictionary;
}

Object *arrayFromPlist(plist_t node) {
    auto *array = new ArrayObject;
    for (std::uint32_t i = 0; i < plist_array_get_size(node); ++i) {
        array->values.push_back(fromPlist(plist_array_get_item(node, i)));
    }
    return array;
}

Object *textFromPlist(plist_t node) {
    char *value = nullptr;
    plist_get_string_val(node, &value);
    auto *text = new Text(icu::UnicodeString::fromUTF8(value));
    std::free(value);
    return text;
}

Object *scalarFromPlist(plist_t node) {
    std::uint8_t truth = 0;
    std::uint64_t integer = 0;
    double real = 0;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
        plist_get_bool_val(node, &truth);
        return object(CFRetain(truth ? kCFBooleanTrue : kCFBooleanFalse));
    case PLIST_UINT:
        plist_get_uint_val(node, &integer);
        return new NumberObject(false, double(integer), std::int64_t(integer));
    case PLIST_REAL:
        plist_get_real_val(node, &real);
        return new NumberObject(true, real, std::int64_t(real));
    default:
        return new DataObject("");
    }
}

Object *fromPlist(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_DICT:
        return dictionaryFromPlist(node);
    case PLIST_ARRAY:
        return arrayFromPlist(node);
    case PLIST_STRING:
        return textFromPlist(node);
    default:
        return scalarFromPlist(node);
    }
}

icu::Locale currentLocale() {
    const std::string wanted = macbox::setting("locale");
    if (!wanted.empty()) {
        return icu::Locale(wanted.c_str());
    }
    const icu::Locale host = icu::Locale::getDefault();
    const bool isPlain = std::string(host.getName()).find("POSIX") != std::string::npos; // the C locale
    return isPlain ? icu::Locale::getUS() : icu::Locale(host.getBaseName());
}

std::string tagOf(std::string localeName) {
    std::replace(localeName.begin(), localeName.end(), '_', '-');
    return localeName.substr(0, localeName.find_first_of(".@"));
}

/// The names between \p separator.
std::vector<std::string> split(const std::string &list, char separator) {
    std::vector<std::string> names;
    std::istringstream listed(list);
    for (std::string name; std::getline(listed, name, separator);) {
        if (!name.empty()) {
            names.push_back(name);
        }
    }
    return names;
}

/// The box's, else the environment's: LANGUAGE, and then the language of the locale.
std::vector<std::string> preferredLanguages() {
    std::vector<std::string> languages = split(macbox::setting("languages"), ' ');
    if (!languages.empty()) {
        return languages;
    }
    for (const std::string &name : split(std::getenv("LANGUAGE") != nullptr ? std::getenv("LANGUAGE") : "", ':')) {
        languages.push_back(tagOf(name));
    }
    languages.push_back(tagOf(currentLocale().getName()));
    return languages;
}

constexpr UInt32 kUtf8CodePage = 65001;

/// The number of a code page plays its encoding, but for UTF-8, whose encoding has a name.
icu::LocalUConverterPointer openConverter(CFStringEncoding encoding) {
    icu::LocalUConverterPointer converter;
    if (encoding == kCFStringEncodingUTF8) {
        encoding = kUtf8CodePage;
    }
    for (const char *maker : {"windows-", "ibm-"}) {
        if (converter.isNull()) {
            UErrorCode status = U_ZERO_ERROR;
            converter.adoptInstead(ucnv_open((maker + std::to_string(encoding)).c_str(), &status));
        }
    }
    return converter;
}

} // namespace

namespace macbox {

CFTypeRef makeOther(std::any value) {
    return ref<CFTypeRef>(new OtherObject(std::move(value)));
}

const std::any &valueOf(CFTypeRef other) {
    return as<OtherObject>(other)->value;
}

std::string text(CFStringRef string) {
    std::string utf8;
    return string == nullptr ? "null" : as<Text>(string)->value.toUTF8String(utf8);
}

} // namespace macbox

extern "C" {

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFTimeInterval kCFAbsoluteTimeIntervalSince1970 = 978307200.0;
const CFBooleanRef kCFBooleanTrue = ref<CFBooleanRef>(constant<TruthObject>(true));
const CFBooleanRef kCFBooleanFalse = ref<CFBooleanRef>(constant<TruthObject>(false));
const CFStringRef kCFURLLocalizedNameKey = constantText("NSURLLocalizedNameKey");
const CFStringRef kCFURLVolumeAvailableCapacityKey = constantText("NSURLVolumeAvailableCapacityKey");
const CFLocaleKey kCFLocaleIdentifier = constantText("kCFLocaleIdentifierKey");
const CFNumberFormatterKey kCFNumberFormatterMinFractionDigits = constantText("kCFNumberFormatterMinFractionDigits");
const CFNumberFormatterKey kCFNumberFormatterMaxFractionDigits = constantText("kCFNumberFormatterMaxFractionDigits");
const CFNumberFormatterKey kCFNumberFormatterUseGroupingSeparator =
    constantText("kCFNumberFormatterUseGroupingSeparator");

/// Promise: one reference more; the object is returned.
CFTypeRef CFRetain(CFTypeRef any) {
    ++object(any)->references;
    return any;
}
/// Promise: with the last reference the object goes. One too many ends the program here.
void CFRelease(CFTypeRef any) {
    macbox::releaseOne(object(any));
}
/// Promise: the same number for all objects of a type.
CFTypeID CFGetTypeID(CFTypeRef any) {
    return object(any)->type;
}

/// Promise: what CFGetTypeID gives for each string.
CFTypeID CFStringGetTypeID() {
    return String;
}
/// Promise: a copy of UTF-16 units, which the caller owns.
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar *characters, CFIndex count) {
    const auto *text = reinterpret_cast<const char16_t *>(characters);
    return ref<CFStringRef>(new Text(icu::UnicodeString(text, std::int32_t(count))));
}
/// Promise: null when the bytes cannot be read in that encoding; here any but UTF-8 cannot.
CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char *text, CFStringEncoding encoding) {
    return encoding == kCFStringEncodingUTF8 ? ref<CFStringRef>(new Text(icu::UnicodeString::fromUTF8(text))) : nullptr;
}
/// Promise: a string of all the bytes, or null when one of them cannot be read in that encoding. Of an external
/// representation a byte order mark is no part of the text.
CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8 *bytes, CFIndex count, CFStringEncoding encoding,
                                    Boolean isExternalRepresentation) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    std::string_view content(reinterpret_cast<const char *>(bytes), std::size_t(count));
    if (isExternalRepresentation != 0 && encoding == kCFStringEncodingUTF8 && content.starts_with(kMark)) {
        content.remove_prefix(kMark.size());
    }
    const icu::LocalUConverterPointer converter = openConverter(encoding);
    if (converter.isNull()) {
        return nullptr;
    }
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter.getAlias(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    const icu::UnicodeString text(content.data(), std::int32_t(content.size()), converter.getAlias(), status);
    return U_SUCCESS(status) ? ref<CFStringRef>(new Text(text)) : nullptr;
}
/// Promise: an invalid number for a code page that is not known.
CFStringEncoding CFStringConvertWindowsCodepageToEncoding(UInt32 codePage) {
    if (codePage == kUtf8CodePage) {
        return kCFStringEncodingUTF8;
    }
    return openConverter(codePage).isNull() ? CFStringEncoding(kCFStringEncodingInvalidId) : codePage;
}
/// Promise: in UTF-16 units.
CFIndex CFStringGetLength(CFStringRef string) {
    return as<Text>(string)->value.length();
}
/// Promise: as many units as the range has, and no zero behind them.
void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar *buffer) {
    as<Text>(string)->value.extract(std::int32_t(range.location), std::int32_t(range.length),
                                    reinterpret_cast<char16_t *>(buffer));
}

/// Promise: what CFGetTypeID gives for each number.
CFTypeID CFNumberGetTypeID() {
    return Number;
}
/// Promise: the value is read as the type says; here only int can be.
CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void *value) {
    if (type != kCFNumberIntType) {
        return nullptr;
    }
    const int integer = *static_cast<const int *>(value);
    return ref<CFNumberRef>(new NumberObject(false, integer, integer));
}
/// Promise: whether the number was made of a real one.
Boolean CFNumberIsFloatType(CFNumberRef number) {
    return as<NumberObject>(number)->isFloat;
}
/// Promise: converts the value; false when that loses something, which nobody asks for here.
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void *value) {
    if (type == kCFNumberDoubleType) {
        *static_cast<double *>(value) = as<NumberObject>(number)->real;
        return true;
    }
    if (type == kCFNumberSInt64Type) {
        *static_cast<std::int64_t *>(value) = as<NumberObject>(number)->integer;
        return true;
    }
    return false;
}
/// Promise: what CFGetTypeID gives for each boolean.
CFTypeID CFBooleanGetTypeID() {
    return Truth;
}
/// Promise: one of the two constants' value.
Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    return as<TruthObject>(boolean)->value;
}

/// Promise: a copy of the bytes, which the caller owns.
CFDataRef CFDataCreate(CFAllocatorRef, const UInt8 *bytes, CFIndex length) {
    return ref<CFDataRef>(new DataObject(std::string(reinterpret_cast<const char *>(bytes), std::size_t(length))));
}
/// Promise: what CFGetTypeID gives for each dictionary.
CFTypeID CFDictionaryGetTypeID() {
    return Dictionary;
}
/// Promise: null without the key; otherwise a value that the caller does not own.
const void *CFDictionaryGetValue(CFDictionaryRef dictionary, const void *key) {
    const auto &values = as<DictionaryObject>(dictionary)->values;
    const auto found = values.find(macbox::text(static_cast<CFStringRef>(key)));
    return found == values.end() ? nullptr : found->second;
}
/// Promise: how many values there are.
CFIndex CFArrayGetCount(CFArrayRef array) {
    return CFIndex(as<ArrayObject>(array)->values.size());
}
/// Promise: a value that the caller does not own.
const void *CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    return as<ArrayObject>(array)->values.at(std::size_t(index));
}

/// Promise: null for what is no property list; with these options nothing of it can be changed.
CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef, CFDataRef data, CFOptionFlags options,
                                               CFPropertyListFormat *, CFErrorRef *) {
    const std::string &bytes = as<DataObject>(data)->bytes;
    plist_t root = nullptr;
    if (kyb::isSafeForLibplist(bytes)) {
        plist_from_memory(bytes.data(), std::uint32_t(bytes.size()), &root);
    }
    if (root == nullptr || options != kCFPropertyListImmutable) {
        return nullptr;
    }
    Object *list = fromPlist(root);
    plist_free(root);
    return list;
}

/// Promise: an address of the file, which the caller owns.
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8 *path, CFIndex length, Boolean) {
    return ref<CFURLRef>(new UrlObject(std::string(reinterpret_cast<const char *>(path), std::size_t(length))));
}

/// Promise: the path in that style, which the caller owns; here only in that of POSIX.
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style) {
    if (style != kCFURLPOSIXPathStyle) {
        return nullptr;
    }
    return ref<CFStringRef>(new Text(icu::UnicodeString::fromUTF8(as<UrlObject>(url)->path)));
}
/// Promise: the bundle that the program was started from; the caller does not own it.
CFBundleRef CFBundleGetMainBundle() {
    static int theOne = 0;
    return reinterpret_cast<CFBundleRef>(&theOne);
}
/// The folder that holds "Contents/MacOS/<program>".
CFURLRef CFBundleCopyBundleURL(CFBundleRef) {
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    return ref<CFURLRef>(new UrlObject(program.parent_path().parent_path().parent_path().string()));
}

static Object *localizedName(const std::string &path) {
    const std::string name = path == "/" ? macbox::setting("volume name") : path.substr(path.rfind('/') + 1);
    return new Text(icu::UnicodeString::fromUTF8(name));
}
static Object *availableCapacity(const struct statvfs &volume) {
    const std::string given = macbox::setting("free bytes");
    const double bytes = given.empty() ? double(volume.f_bavail) * double(volume.f_frsize) : std::stod(given);
    return new NumberObject(false, bytes, std::int64_t(bytes));
}
/// Promise: false for a file that is not there; otherwise an object of the key's type, which the caller owns.
Boolean CFURLCopyResourcePropertyForKey(CFURLRef url, CFStringRef key, void *value, CFErrorRef *) {
    const std::string &path = as<UrlObject>(url)->path;
    struct statvfs volume = {};
    if (statvfs(path.c_str(), &volume) != 0) {
        return false;
    }
    Object *answer = nullptr;
    if (key == kCFURLLocalizedNameKey) {
        answer = localizedName(path);
    } else if (key == kCFURLVolumeAvailableCapacityKey) {
        answer = availableCapacity(volume);
    }
    *static_cast<CFTypeRef *>(value) = answer;
    return answer != nullptr;
}

/// Promise: the user's region settings, as they are now.
CFLocaleRef CFLocaleCopyCurrent() {
    macbox::record("CFLocaleCopyCurrent");
    return ref<CFLocaleRef>(new LocaleObject(currentLocale()));
}
/// Promise: as long as the locale lives; the caller does not own it.
CFStringRef CFLocaleGetIdentifier(CFLocaleRef locale) {
    return ref<CFStringRef>(as<LocaleObject>(locale)->identifier);
}
/// Promise: in the display locale's language; null when there is no name.
CFStringRef CFLocaleCopyDisplayNameForPropertyValue(CFLocaleRef displayLocale, CFLocaleKey key, CFStringRef value) {
    if (key != kCFLocaleIdentifier) {
        return nullptr;
    }
    icu::UnicodeString name;
    icu::Locale(macbox::text(value).c_str()).getDisplayName(as<LocaleObject>(displayLocale)->locale, name);
    return ref<CFStringRef>(new Text(name));
}
/// Promise: tags in the user's order.
CFArrayRef CFLocaleCopyPreferredLanguages() {
    auto *languages = new ArrayObject;
    for (const std::string &language : preferredLanguages()) {
        languages->values.push_back(new Text(icu::UnicodeString::fromUTF8(language)));
    }
    return ref<CFArrayRef>(languages);
}

/// Promise: the styles are the locale's own.
CFDateFormatterRef CFDateFormatterCreate(CFAllocatorRef, CFLocaleRef locale, CFDateFormatterStyle dateStyle,
                                         CFDateFormatterStyle timeStyle) {
    static constexpr icu::DateFormat::EStyle kStyles[] = {icu::DateFormat::kNone, icu::DateFormat::kShort,
                                                          icu::DateFormat::kMedium, icu::DateFormat::kLong,
                                                          icu::DateFormat::kFull};
    return ref<CFDateFormatterRef>(new DateFormatObject(icu::DateFormat::createDateTimeInstance(
        kStyles[dateStyle], kStyles[timeStyle], as<LocaleObject>(locale)->locale)));
}
/// Promise: seconds since the first moment of 2001, UTC.
CFStringRef CFDateFormatterCreateStringWithAbsoluteTime(CFAllocatorRef, CFDateFormatterRef formatter,
                                                        CFAbsoluteTime time) {
    icu::UnicodeString text;
    as<DateFormatObject>(formatter)->format->format((time + kCFAbsoluteTimeIntervalSince1970) * 1000, text);
    return ref<CFStringRef>(new Text(text));
}

/// Promise: the style is the locale's own; here only the decimal one can be made.
CFNumberFormatterRef CFNumberFormatterCreate(CFAllocatorRef, CFLocaleRef locale, CFNumberFormatterStyle style) {
    if (style != kCFNumberFormatterDecimalStyle) {
        return nullptr;
    }
    UErrorCode status = U_ZERO_ERROR;
    return ref<CFNumberFormatterRef>(
        new NumberFormatObject(icu::NumberFormat::createInstance(as<LocaleObject>(locale)->locale, status)));
}
/// Promise: the value is of the key's type.
void CFNumberFormatterSetProperty(CFNumberFormatterRef formatter, CFStringRef key, CFTypeRef value) {
    icu::NumberFormat &format = *as<NumberFormatObject>(formatter)->format;
    if (key == kCFNumberFormatterUseGroupingSeparator) {
        format.setGroupingUsed(as<TruthObject>(value)->value);
    } else if (key == kCFNumberFormatterMinFractionDigits) {
        format.setMinimumFractionDigits(std::int32_t(as<NumberObject>(value)->integer));
    } else if (key == kCFNumberFormatterMaxFractionDigits) {
        format.setMaximumFractionDigits(std::int32_t(as<NumberObject>(value)->integer));
    }
}
/// Promise: the value is read as the type says; here only double can be.
CFStringRef CFNumberFormatterCreateStringWithValue(CFAllocatorRef, CFNumberFormatterRef formatter, CFNumberType type,
                                                   const void *value) {
    if (type != kCFNumberDoubleType) {
        return nullptr;
    }
    icu::UnicodeString text;
    as<NumberFormatObject>(formatter)->format->format(*static_cast<const double *>(value), text);
    return ref<CFStringRef>(new Text(text));
}

/// Promise: the text goes to the system's log and to standard error. Knows one placeholder, "%@" for a string.
void NSLog(CFStringRef format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string argument = macbox::text(va_arg(arguments, CFStringRef));
    va_end(arguments);
    macbox::record("NSLog format=" + macbox::text(format) + " argument=" + argument);
    std::string line = macbox::text(format);
    line.replace(line.find("%@"), 2, argument);
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // extern "C"
