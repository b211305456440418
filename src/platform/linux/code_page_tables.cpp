#include "platform/posix/code_page_tables.h"

#include <algorithm>
#include <cstdint>
#include <iconv.h>
#include <limits>
#include <string>
#include <string_view>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/unistr.h>
#include <unordered_map>

namespace kyb {
namespace {

constexpr int kJohab = 1361;

/// A page that ICU lacks, and one that it has with the same letters in the same places.
struct Relative {
    int number;
    int known;
};

constexpr Relative kRelatives[] = {
    {708, 28596},   // Arabic
    {10001, 932},   // Mac, Japanese
    {10002, 950},   // Mac, Chinese, traditional
    {10003, 949},   // Mac, Korean
    {10004, 28596}, // Mac, Arabic
    {10005, 1255},  // Mac, Hebrew
    {10008, 936},   // Mac, Chinese, simplified
    {10017, 10007}, // Mac, Ukrainian
    {10021, 874},   // Mac, Thai
    {20932, 954},   // Japanese, as Unix writes it
    {20936, 936},   // Chinese, simplified
    {20949, 949},   // Korean
    {28591, 1252},  // Western, as ISO has it
    {28601, 874},   // Thai
    {38598, 28598}, // Hebrew, in the order of reading
    {51932, 954},   // Japanese, as Unix writes it
    {51936, 936},   // Chinese, simplified
};

int knownPage(int number) {
    const auto *row = std::find_if(std::begin(kRelatives), std::end(kRelatives),
                                   [=](const Relative &relative) { return relative.number == number; });
    return row == std::end(kRelatives) ? number : row->known;
}

/// ICU's own handler writes U+001A for some bytes, which a text may hold as well.
void replace(const void *, UConverterToUnicodeArgs *arguments, const char *, std::int32_t,
             UConverterCallbackReason reason, UErrorCode *status) {
    constexpr UChar kReplacement = 0xFFFD;
    if (reason <= UCNV_IRREGULAR) {
        *status = U_ZERO_ERROR;
        ucnv_cbToUWriteUChars(arguments, &kReplacement, 1, 0, status);
    }
}

/// Null when ICU has no such page. NB: the names that begin with "windows" come first; "ibm-932" and others are pages
/// of the same number and another content.
icu::LocalUConverterPointer openConverter(int number) {
    icu::LocalUConverterPointer converter;
    for (const char *maker : {"windows-", "ibm-"}) {
        UErrorCode status = U_ZERO_ERROR;
        converter.adoptInstead(ucnv_open((maker + std::to_string(number)).c_str(), &status));
        if (converter.isValid()) {
            ucnv_setToUCallBack(converter.getAlias(), replace, nullptr, nullptr, nullptr, &status);
            break;
        }
    }
    return converter;
}

/// Null when there is none. All that were asked for stay open, and what is missing is known: to look takes as long as
/// to read a page of text, and there are no more of them than 16-bit numbers.
UConverter *converterFor(int number) {
    thread_local std::unordered_map<int, icu::LocalUConverterPointer> known;
    if (number < 0 || number > std::numeric_limits<quint16>::max()) {
        return nullptr;
    }
    const auto [row, isNew] = known.try_emplace(number);
    if (isNew) {
        row->second = openConverter(knownPage(number));
    }
    return row->second.getAlias();
}

/// By the C library: ICU has no table for Johab.
QString fromJohab(QByteArrayView bytes) {
    const iconv_t converter = iconv_open("UTF-8", "JOHAB");
    if (reinterpret_cast<std::intptr_t>(converter) == -1) {
        return QString(bytes.size(), QChar::ReplacementCharacter);
    }
    constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
    std::string text(std::size_t(bytes.size()) * kReplacement.size(), '\0'); // no byte gives more
    char *from = const_cast<char *>(bytes.data());
    char *to = text.data();
    std::size_t left = std::size_t(bytes.size());
    std::size_t space = text.size();
    while (left > 0 && iconv(converter, &from, &left, &to, &space) == std::size_t(-1)) {
        to = std::copy(kReplacement.begin(), kReplacement.end(), to);
        space -= kReplacement.size();
        ++from;
        --left;
    }
    iconv_close(converter);
    constexpr QChar kWon = u'\u20A9'; // NB: what the C library's table has in place of the backslash, and nowhere else
    return QString::fromUtf8(text.data(), to - text.data()).replace(kWon, u'\\');
}

} // namespace

std::optional<QString> decodedBySystem(int number, QByteArrayView bytes) {
    if (number == kJohab) {
        return fromJohab(bytes);
    }
    UConverter *converter = converterFor(number);
    if (converter == nullptr) {
        return {};
    }
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString text(bytes.data(), std::int32_t(bytes.size()), converter, status);
    return QString(reinterpret_cast<const QChar *>(text.getBuffer()), text.length());
}

} // namespace kyb
