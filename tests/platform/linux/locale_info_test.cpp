#include "Probe.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kyb {
namespace {

using testing::AnyOf;
using testing::ElementsAre;

constexpr char kNoLocale[] =
    "-u LC_ALL -u LC_MESSAGES -u LC_TIME -u LC_NUMERIC -u LC_CTYPE -u LANG -u LANGUAGE TZ=UTC ";

/// The narrow space that stands before "PM" in newer locale data.
constexpr char kAfternoon[] = "11/14/23, 10:13\u202fPM";

std::string languages(const std::string &environment) {
    return test::askProbe(kNoLocale + environment, "locale").at(4);
}

TEST(LocaleInfo, SpeaksAmericanEnglish) {
    EXPECT_THAT(
        test::askProbe(std::string(kNoLocale) + "LANG=en_US.UTF-8", "locale"),
        ElementsAre("en_US", "English (United States)", AnyOf(kAfternoon, "11/14/23, 10:13 PM"), "1.07", "en-US en"));
}

TEST(LocaleInfo, SpeaksGerman) {
    EXPECT_THAT(test::askProbe(std::string(kNoLocale) + "LANG=de_DE.UTF-8", "locale"),
                ElementsAre("de_DE", "Englisch (Vereinigte Staaten)", "14.11.23, 22:13", "1,07", "de-DE de en"));
}

TEST(LocaleInfo, WritesDatesAndNumbersAsTheirCategoriesSay) {
    const auto dateAndNumber = [](const std::string &environment) {
        const std::vector<std::string> lines = test::askProbe(kNoLocale + environment, "locale");
        return lines.at(0) + " | " + lines.at(2) + " | " + lines.at(3);
    };
    EXPECT_EQ(dateAndNumber("LANG=de_DE.UTF-8 LC_NUMERIC=en_US.UTF-8"), "de_DE | 14.11.23, 22:13 | 1.07");
    EXPECT_EQ(dateAndNumber("LANG=en_US.UTF-8 LC_TIME=de_DE.UTF-8"), "en_US | 14.11.23, 22:13 | 1.07");
    EXPECT_EQ(dateAndNumber("LC_TIME=de_DE.UTF-8 LC_NUMERIC=de_DE.UTF-8"), "en_US | 14.11.23, 22:13 | 1,07");
    EXPECT_EQ(dateAndNumber("LANG=en_US LC_TIME=fr_FR LC_NUMERIC=fr_FR LC_ALL=de_DE"),
              "de_DE | 14.11.23, 22:13 | 1,07");
    EXPECT_EQ(dateAndNumber("LANG=de_DE LC_MESSAGES=en_US"), "en_US | 14.11.23, 22:13 | 1,07");
}

TEST(LocaleInfo, TakesNoLocaleForAmericanEnglish) {
    for (const std::string locale : {"", "LANG=C", "LC_ALL=C.UTF-8", "LC_ALL=POSIX LANG=de_DE.UTF-8"}) {
        EXPECT_THAT(
            test::askProbe(kNoLocale + locale, "locale"),
            ElementsAre("en_US", "English (United States)", AnyOf(kAfternoon, "11/14/23, 10:13 PM"), "1.07", "en"))
            << locale;
    }
}

TEST(LocaleInfo, SurvivesWhatCanBeNoLocale) {
    const std::vector<std::string> lines = test::askProbe(std::string(kNoLocale) + "LANG=thiscannotbeone", "locale");
    ASSERT_GE(lines.size(), 4U);
    EXPECT_THAT(lines.at(2), AnyOf(kAfternoon, "11/14/23, 10:13 PM"));
    EXPECT_EQ(lines.at(3), "1.07");
}

TEST(LocaleInfo, KnowsTheTimeZone) {
    EXPECT_EQ(test::askProbe(std::string(kNoLocale) + "LANG=de_DE.UTF-8 TZ=Europe/Berlin", "locale").at(2),
              "14.11.23, 23:13");
}

TEST(LocaleInfo, PrefersTheLanguagesAsTheCLibraryDoes) {
    EXPECT_EQ(languages("LANG=de_AT.UTF-8@euro"), "de-AT de en");
    EXPECT_EQ(languages("LANG=de_DE LC_MESSAGES=fr_FR"), "fr-FR fr en");
    EXPECT_EQ(languages("LANG=de_DE LC_MESSAGES=fr_FR LC_ALL=it_IT.UTF-8"), "it-IT it en");
    EXPECT_EQ(languages("LANG=de_DE LC_ALL="), "de-DE de en");
    EXPECT_EQ(languages("LANG=de_DE LANGUAGE=sv:fr_CA::de"), "sv fr-CA fr de de-DE en");
    EXPECT_EQ(languages("LANG=en_GB LANGUAGE=en:de"), "en");
    EXPECT_EQ(languages("LANG=en_GB LANGUAGE=C:de"), "de en-GB en");
    EXPECT_EQ(languages("LANGUAGE=de"), "en");
    EXPECT_EQ(languages("LC_ALL=C LANGUAGE=de"), "en");
}

TEST(LocaleInfo, KeepsScriptAndRegion) {
    EXPECT_EQ(languages("LANG=zh_TW.UTF-8"), "zh-Hant-TW zh-TW zh-Hant zh en");
    EXPECT_EQ(languages("LANG=sr_RS.UTF-8@latin"), "sr-Latn-RS sr-RS sr-Latn sr en");
    EXPECT_EQ(languages("LANG=de_DE LANGUAGE=uz@cyrillic"), "uz-Cyrl uz de-DE de en");
}

} // namespace
} // namespace kyb
