#include "platform/property_list.h"

#include "platform/macos/cf_string.h"
#include "posix/file_io.h"

#include <QFile>
#include <QLocale>

namespace kyb {
namespace {

CFOwned<CFPropertyListRef> readPropertyList(const QString &path) {
    const std::string file = QFile::encodeName(path).toStdString();
    const std::optional<std::string> bytes = readAll(openRegularFile(file, O_RDONLY).get(), kMaxPropertyListBytes);
    if (!bytes) {
        return {};
    }
    const CFOwned data(CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8 *>(bytes->data()),
                                    static_cast<CFIndex>(bytes->size())));
    return CFOwned(
        CFPropertyListCreateWithData(kCFAllocatorDefault, data.get(), kCFPropertyListImmutable, nullptr, nullptr));
}

QString numberText(CFNumberRef number) {
    if (CFNumberIsFloatType(number)) {
        double value = 0;
        CFNumberGetValue(number, kCFNumberDoubleType, &value);
        return QString::number(value, 'g', QLocale::FloatingPointShortest);
    }
    qint64 value = 0;
    CFNumberGetValue(number, kCFNumberSInt64Type, &value);
    return QString::number(value);
}

QString valueText(CFTypeRef value) {
    const CFTypeID type = CFGetTypeID(value);
    if (type == CFStringGetTypeID()) {
        return fromCFString(static_cast<CFStringRef>(value));
    }
    if (type == CFBooleanGetTypeID()) {
        const bool truth = CFBooleanGetValue(static_cast<CFBooleanRef>(value));
        return truth ? QStringLiteral("true") : QStringLiteral("false");
    }
    if (type == CFNumberGetTypeID()) {
        return numberText(static_cast<CFNumberRef>(value));
    }
    return QStringLiteral("");
}

} // namespace

std::optional<QString> propertyListValue(const QString &path, const QString &key) {
    const CFOwned<CFPropertyListRef> list = readPropertyList(path);
    if (!list || CFGetTypeID(list.get()) != CFDictionaryGetTypeID()) {
        return std::nullopt;
    }
    const CFTypeRef value = CFDictionaryGetValue(static_cast<CFDictionaryRef>(list.get()), toCFString(key).get());
    return value == nullptr ? std::nullopt : std::optional(valueText(value));
}

} // namespace kyb
