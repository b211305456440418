// What every machine's locale port holds to, whatever the locale.

#include "platform/locale_info.h"
#include "platform/posix/languages.h"

#include <QRegularExpression>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace kyb {
namespace {

std::chrono::system_clock::time_point someDay() {
    return std::chrono::system_clock::time_point(std::chrono::seconds(1'700'000'000));
}

TEST(LocaleContract, StampsWithoutSecondsOnOneLine) {
    const QString stamp = shortDateAndTime(someDay());
    EXPECT_FALSE(stamp.isEmpty());
    EXPECT_FALSE(stamp.contains(QLatin1Char('\n')));
    EXPECT_EQ(stamp, shortDateAndTime(someDay() + std::chrono::seconds(19))); // 22:13:20 to 22:13:39 UTC
    EXPECT_NE(stamp, shortDateAndTime(someDay() + std::chrono::minutes(1)));
    EXPECT_NE(stamp, shortDateAndTime(someDay() + std::chrono::hours(24)));
}

TEST(LocaleContract, StampsInSeveralThreads) {
    const QString expected = shortDateAndTime(someDay());
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&expected] {
            for (int j = 0; j < 200; ++j) {
                EXPECT_EQ(shortDateAndTime(someDay()), expected);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

TEST(LocaleContract, HasAnIdentifierAndItsName) {
    EXPECT_FALSE(localeIdentifier().isEmpty());
    EXPECT_FALSE(localeDisplayName(localeIdentifier()).isEmpty());
}

TEST(LocaleContract, GivesTwoDecimalsWithoutGrouping) {
    const auto isNumber = [](double value, const char *pattern) {
        return QRegularExpression(QLatin1String(pattern)).match(twoDecimals(value)).hasMatch();
    };
    EXPECT_TRUE(isNumber(1.073741824, "^1[.,]07$")) << twoDecimals(1.073741824).toStdString();
    EXPECT_TRUE(isNumber(499.999999999, "^500[.,]00$"));
    EXPECT_TRUE(isNumber(0, "^0[.,]00$"));
    EXPECT_TRUE(isNumber(1234567.891, "^1234567[.,]89$")) << twoDecimals(1234567.891).toStdString();
}

TEST(LocaleContract, EndsTheLanguagesWithEnglish) {
    ASSERT_FALSE(preferredLanguages().isEmpty());
    EXPECT_EQ(preferredLanguages().last(), QStringLiteral("en"));
}

TEST(LocaleContract, NamesTheTablesThatSuitALanguage) {
    const std::pair<const char *, const char *> rows[] = {
        {"de", "de en"},
        {"de-AT", "de-AT de en"},
        {"pt_BR", "pt-BR pt en"},
        {"es-419", "es-419 es en"},
        {"zh-TW", "zh-Hant-TW zh-TW zh-Hant zh en"},
        {"zh-HK", "zh-Hant-HK zh-HK zh-Hant zh en"},
        {"zh-CN", "zh-Hans-CN zh-CN zh-Hans zh en"},
        {"zh-Hant", "zh-Hant zh en"},
        {"zh", "zh-Hans zh en"},
        {"ZH_hans_sg", "zh-Hans-SG zh-SG zh-Hans zh en"},
        {"sr-Latn-RS", "sr-Latn-RS sr-RS sr-Latn sr en"},
        {"uz-Latn-UZ", "uz-Latn-UZ uz-UZ uz-Latn uz en"}, // said, although it goes without saying
        {"sr_ME", "sr-Latn-ME sr-ME sr-Latn sr en"},
        {"ca-ES-valencia", "ca-ES ca en"},
        {"de-DE-u-co-phonebk", "de-DE de en"},
        {"tlh", "tlh en"}, // no data for it
        {"en", "en"},
        {"en-GB", "en-GB en"},
        {"../de", "en"},
        {"x-private", "en"},
        {"", "en"},
    };
    for (const auto &[tag, names] : rows) {
        EXPECT_EQ(tableLanguages({QString::fromLatin1(tag)}).join(u' '), QLatin1String(names)) << tag;
    }
}

TEST(LocaleContract, NamesTheTablesOfSeveralLanguagesInTheirOrder) {
    EXPECT_EQ(tableLanguages({QStringLiteral("de-AT"), QStringLiteral("fr"), QStringLiteral("de-CH")}),
              (QStringList{QStringLiteral("de-AT"), QStringLiteral("de"), QStringLiteral("fr"), QStringLiteral("de-CH"),
                           QStringLiteral("en")}));
    EXPECT_EQ(tableLanguages({QStringLiteral("en-GB"), QStringLiteral("de")}),
              (QStringList{QStringLiteral("en-GB"), QStringLiteral("en")}));
    EXPECT_EQ(tableLanguages({}), QStringList{QStringLiteral("en")});
}

} // namespace
} // namespace kyb
