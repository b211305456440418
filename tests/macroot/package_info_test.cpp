#include "install_error.h"
#include "package_info.h"
#include "package_writer.h"

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
    for (const char *const xml : {
             "",
             "<pkg-info",
             "<other/>",
             "<pkg-info version='1'/>",
             "<pkg-info identifier='../a'/>",
             "<pkg-info identifier='.a'/>",
             "<pkg-info identifier='a b'/>",
             "<pkg-info identifier='a&#10;b'/>",
             "<pkg-info identifier='a' install-location='/../b'/>",
             "<pkg-info identifier='a' install-location='..'/>",
             "<pkg-info identifier='a'><scripts><preinstall file='../x'/></scripts></pkg-info>",
             "<pkg-info identifier='a'><scripts><postinstall file='/bin/sh'/></scripts></pkg-info>",
         }) {
        EXPECT_THROW((void)parsePackageInfo(xml), InstallError) << xml;
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
    EXPECT_THROW((void)parseDistribution("<installer-script><pkg-ref>#a.pkg</pkg-ref><pkg-ref>#b.pkg</pkg-ref>"
                                         "<pkg-ref>#%61.pkg</pkg-ref></installer-script>"),
                 InstallError);
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
    EXPECT_THROW((void)parseDistribution(distributionOf(1001)), InstallError);
}

TEST(Distribution, RefusesOneWithoutComponents) {
    EXPECT_THROW((void)parseDistribution("<installer-gui-script/>"), InstallError);
    EXPECT_THROW((void)parseDistribution("not xml"), InstallError);
}

TEST(PercentDecoded, ReplacesOnlyWholeEscapes) {
    EXPECT_EQ(percentDecoded("a%20b%2fc"), "a b/c");
    EXPECT_EQ(percentDecoded("100%"), "100%");
    EXPECT_EQ(percentDecoded("%2"), "%2");
    EXPECT_EQ(percentDecoded("%zz%4"), "%zz%4");
    EXPECT_EQ(percentDecoded("%+1"), "%+1");
}

} // namespace kyb::macroot
