#include "platform/locale_info.h"

#include "platform/posix/languages.h"
#include "posix/NoDestructor.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>
#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>

namespace kyb {
namespace {

QString toText(const icu::UnicodeString &text) {
    return QString(reinterpret_cast<const QChar *>(text.getBuffer()), text.length());
}

const char *environmentText(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// The name of the locale for \p category ("LC_TIME"), as the C library picks it.
std::string_view localeNameFor(const char *category) {
    for (const char *name : {"LC_ALL", category, "LANG"}) {
        if (const std::string_view value = environmentText(name); !value.empty()) {
            return value;
        }
    }
    return {};
}

struct ScriptModifier {
    std::string_view modifier;
    const char *script;
};

constexpr ScriptModifier kScriptModifiers[] = {{"cyrillic", "Cyrl"}, {"devanagari", "Deva"}, {"latin", "Latn"}};

/// The script that "sr_RS@latin" names, behind a hyphen; empty when the modifier is none.
QString scriptOf(std::string_view localeName) {
    const std::size_t at = localeName.find('@');
    const std::string_view modifier = at == std::string_view::npos ? std::string_view() : localeName.substr(at + 1);
    const auto *row = std::find_if(std::begin(kScriptModifiers), std::end(kScriptModifiers),
                                   [=](const ScriptModifier &known) { return known.modifier == modifier; });
    return row == std::end(kScriptModifiers) ? QString() : u'-' + QLatin1String(row->script);
}

/// "de_AT" for "de_AT.UTF-8@euro", "sr-Latn_RS" for "sr_RS@latin"; empty for the C locale, which has no language.
QString tagOf(std::string_view localeName) {
    const std::string_view plain = localeName.substr(0, localeName.find_first_of(".@"));
    if (plain.empty() || plain == "C" || plain == "POSIX") {
        return {};
    }
    QString tag = QString::fromUtf8(plain.data(), static_cast<qsizetype>(plain.size()));
    const qsizetype endOfLanguage = tag.indexOf(u'_');
    return tag.insert(endOfLanguage < 0 ? tag.size() : endOfLanguage, scriptOf(localeName));
}

/// For a user, the C locale is plain American English; so is what can be no locale's name.
icu::Locale localeFor(const char *category) {
    const QByteArray tag = tagOf(localeNameFor(category)).replace(u'-', u'_').toLatin1();
    const icu::Locale named(tag.constData());
    return tag.isEmpty() || named.isBogus() ? icu::Locale::getUS() : named;
}

/// The locale whose words are used.
const icu::Locale &locale() {
    static NoDestructor<icu::Locale> value(localeFor("LC_MESSAGES"));
    return *value;
}

const icu::Locale &numberLocale() {
    static NoDestructor<icu::Locale> value(localeFor("LC_NUMERIC"));
    return *value;
}

/// As the C library orders them.
QStringList wantedTags() {
    const QString ofLocale = tagOf(localeNameFor("LC_MESSAGES"));
    if (ofLocale.isEmpty()) {
        return {}; // NB: LANGUAGE counts only where there is a locale; in the C locale the C library ignores it as well
    }
    QStringList tags;
    for (const QByteArray &name : QByteArray(environmentText("LANGUAGE")).split(':')) {
        tags << tagOf({name.constData(), static_cast<std::size_t>(name.size())});
    }
    return tags << ofLocale;
}

QString formatted(std::chrono::system_clock::time_point time) {
    // A formatter may not be shared by threads, and to make one costs a hundred times what it costs to use it.
    thread_local const std::unique_ptr<icu::DateFormat> formatter(icu::DateFormat::createDateTimeInstance(
        icu::DateFormat::kShort, icu::DateFormat::kShort, localeFor("LC_TIME")));
    if (formatter == nullptr) {
        return {};
    }
    const std::chrono::duration<double, std::milli> sinceEpoch = time.time_since_epoch();
    icu::UnicodeString text;
    return toText(formatter->format(sinceEpoch.count(), text));
}

} // namespace

QString shortDateAndTime(std::chrono::system_clock::time_point time) {
    using Minute = std::chrono::time_point<std::chrono::system_clock, std::chrono::minutes>;
    // A log asks many times a minute, and the text has no seconds.
    thread_local std::optional<Minute> minuteOfText;
    thread_local QString text;
    const auto minute = std::chrono::floor<std::chrono::minutes>(time);
    if (minuteOfText != minute) {
        text = formatted(minute);
        minuteOfText = minute;
    }
    return text;
}

QString localeIdentifier() {
    return QString::fromLatin1(locale().getBaseName());
}

QString localeDisplayName(const QString &identifier) {
    icu::UnicodeString name;
    return toText(icu::Locale(identifier.toLatin1().constData()).getDisplayName(locale(), name));
}

QString twoDecimals(double value) {
    // Rounded as printf("%.2f") does, from the exact binary value; ICU only spells the digits.
    std::array<char, 400> digits{};
    const char *end = std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed, 2).ptr;
    const icu::StringPiece plain(digits.data(), static_cast<int32_t>(end - digits.data()));
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString text = icu::number::NumberFormatter::withLocale(numberLocale())
                                        .grouping(UNUM_GROUPING_OFF)
                                        .precision(icu::number::Precision::fixedFraction(2))
                                        .formatDecimal(plain, status)
                                        .toString(status);
    return U_SUCCESS(status) ? toText(text) : QString::fromLatin1(plain.data(), plain.length());
}

QStringList preferredLanguages() {
    static NoDestructor<QStringList> languages(tableLanguages(wantedTags()));
    return *languages;
}

} // namespace kyb
