// What every machine's locale port holds to, whatever the locale.

#include "platform/locale_info.h"

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

} // namespace
} // namespace kyb
