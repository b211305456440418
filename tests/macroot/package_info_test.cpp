#include "package_info.h"
#include "package_writer.h"
#include "reason_of.h"

#include <gmock/gmock.h>

namespace kyb::macroot {

using testing::ElementsAre;

TEST(PackageInfo, ReadsWhatThePackageWriterWrites) {
    const PackageInfo info = parsePackageInfo(packageInfoText(
        {.identifier = "com.example.a", .version = "1.2 <3>", .installLocation = "/Library/Printers", .payload = {}}));
    EXPECT_EQ(info.identifier, "com.example.a");
    EXPECT_EQ(info.version, "1.2 <3>");
    EXPECT_EQ(info.installLocation, "Library/Printers");
    EXPECT_EQ(info.preinstall, "preinstall");
    EXPECT_EQ(info.postinstall, "postinstall");
}

TEST(PackageInfo, DoesWithoutScriptsAndLocation) {
    const PackageInfo info = parsePackageInfo("<pkg-info identifier='a' version='1'/>");
    EXPECT_EQ(info.installLocation, "");
    EXPECT_EQ(info.preinstall, "");
    EXPECT_EQ(info.postinstall, "");
}

TEST(PackageInfo, RefusesWhatItCannotUse) {
    const std::pair<const char *, const char *> rows[] = {
        {"", "The package's PackageInfo cannot be read: No document element found"},
        {"<pkg-info", "The package's PackageInfo cannot be read: Error parsing start element tag"},
        {"<other/>", "The package's identifier is not usable: ''"},
        {"<pkg-info version='1'/>", "The package's identifier is not usable: ''"},
        {"<pkg-info identifier='../a'/>", "The package's identifier is not usable: '../a'"},
        {"<pkg-info identifier='.a'/>", "The package's identifier is not usable: '.a'"},
        {"<pkg-info identifier='a b'/>", "The package's identifier is not usable: 'a b'"},
        {"<pkg-info identifier='a&#10;b'/>", "The package's identifier is not usable: 'a\nb'"},
        {"<pkg-info identifier='a' install-location='/../b'/>",
         "The package names an install location outside of the target: /../b"},
        {"<pkg-info identifier='a' install-location='..'/>",
         "The package names an install location outside of the target: .."},
        {"<pkg-info identifier='a'><scripts><preinstall file='../x'/></scripts></pkg-info>",
         "The package names a path outside of its place: ../x"},
        {"<pkg-info identifier='a'><scripts><postinstall file='/bin/sh'/></scripts></pkg-info>",
         "The package names a path outside of its place: /bin/sh"},
    };
    for (const auto &[xml, reason] : rows) {
        EXPECT_EQ(reasonOf([xml = xml] { (void)parsePackageInfo(xml); }), reason) << xml;
    }
}

TEST(Distribution, ReadsWhatThePackageWriterWrites) {
    const Distribution distribution =
        parseDistribution(distributionText("A & B", "com.example.a", "1", "a 100% b.pkg"));
    EXPECT_EQ(distribution.title, "A & B");
    EXPECT_THAT(distribution.componentFolders, ElementsAre("a 100% b.pkg"));
}

TEST(Distribution, TakesTheComponentsInTheirOrder) {
    const Distribution distribution =
        parseDistribution("<installer-script><pkg-ref id='a'/><pkg-ref id='a'>#a.pkg</pkg-ref>"
                          "<pkg-ref id='b'>#b.pkg</pkg-ref></installer-script>");
    EXPECT_THAT(distribution.componentFolders, ElementsAre("a.pkg", "b.pkg"));
}

TEST(Distribution, RefusesAComponentThatItNamesTwice) {
    const char *const xml = "<installer-script><pkg-ref>#a.pkg</pkg-ref><pkg-ref>#b.pkg</pkg-ref>"
                            "<pkg-ref>#%61.pkg</pkg-ref></installer-script>";
    EXPECT_EQ(reasonOf([xml] { (void)parseDistribution(xml); }),
              "The package's Distribution names the component a.pkg twice");
}

TEST(Distribution, RefusesTooManyComponents) {
    const auto distributionOf = [](std::size_t components) {
        std::string xml = "<installer-script>";
        for (std::size_t i = 0; i < components; ++i) {
            xml += "<pkg-ref>#" + std::to_string(i) + "</pkg-ref>";
        }
        return xml + "</installer-script>";
    };
    EXPECT_EQ(parseDistribution(distributionOf(1000)).componentFolders.size(), 1000U);
    EXPECT_EQ(reasonOf([&] { (void)parseDistribution(distributionOf(1001)); }),
              "The package's Distribution names too many components");
}

TEST(Distribution, RefusesOneWithoutComponents) {
    EXPECT_EQ(reasonOf([] { (void)parseDistribution("<installer-gui-script/>"); }),
              "The package's Distribution names no component");
    EXPECT_EQ(reasonOf([] { (void)parseDistribution("not xml"); }),
              "The package's Distribution cannot be read: No document element found");
}

TEST(PercentDecoded, ReplacesOnlyWholeEscapes) {
    EXPECT_EQ(percentDecoded("a%20b%2fc"), "a b/c");
    EXPECT_EQ(percentDecoded("100%"), "100%");
    EXPECT_EQ(percentDecoded("%2"), "%2");
    EXPECT_EQ(percentDecoded("%zz%4"), "%zz%4");
    EXPECT_EQ(percentDecoded("%+1"), "%+1");
}

} // namespace kyb::macroot
