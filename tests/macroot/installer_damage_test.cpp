#include "mac_root.h"
#include "package_writer.h"

#include <gmock/gmock.h>
#include <random>

namespace kyb::macroot {
namespace {

constexpr std::size_t kTriedPlaces = 60;

// Whatever is in the file, the program ends by itself, and either all is in place or nothing.
void expectAllOrNothing(const MacRoot &root, const Snapshot &before, const std::string &package,
                        const std::string &what) {
    const Ran ran = root.install(package);
    ASSERT_LE(ran.status, 1) << what << ran.errors;
    EXPECT_FALSE(root.hasStage()) << what;
    if (ran.status == 1) {
        EXPECT_EQ(root.snapshot(), before) << what;
        EXPECT_THAT(ran.lastLine(), testing::AnyOf(testing::StartsWith("installer: The install failed. ("),
                                                   testing::StartsWith("installer: The upgrade failed. ("),
                                                   testing::StartsWith("installer: Error - the package path")))
            << what;
    }
}

} // namespace

TEST(InstallerDamage, OfAPackageThatIsCutOffAnywhere) {
    const MacRoot root;
    const std::string package = root.samplePackage({"--version", "1"});
    const std::string whole = contentOf(package);
    const Snapshot before = root.snapshot();
    for (std::size_t i = 0; i < kTriedPlaces; ++i) {
        const std::size_t length = whole.size() * i / kTriedPlaces;
        writeText(package, whole.substr(0, length));
        EXPECT_EQ(root.install(package).status, 1) << length;
        EXPECT_EQ(root.snapshot(), before) << length;
    }
    // The archive ends with 20 bytes that nothing needs; this one is the payload's last.
    writeText(package, whole.substr(0, whole.size() - 21));
    EXPECT_EQ(root.install(package).status, 1);
    EXPECT_EQ(root.snapshot(), before);
}

TEST(InstallerDamage, OfOneByteAnywhere) {
    const MacRoot root;
    const std::string package = root.samplePackage({"--version", "1"});
    const std::string whole = contentOf(package);
    for (std::size_t i = 0; i < kTriedPlaces; ++i) {
        const std::size_t place = whole.size() * i / kTriedPlaces;
        std::string damaged = whole;
        damaged[place] = static_cast<char>(~damaged[place]);
        writeText(package, damaged);
        expectAllOrNothing(root, root.snapshot(), package, "byte " + std::to_string(place));
    }
}

TEST(InstallerDamage, BehindAllThatUnpackingNeeds) {
    const MacRoot root;
    PayloadWriter payload;
    payload.addFile("./Library/file", "x");
    const UniqueFd file = payload.finish();
    const std::string padding(300000, 'x'); // more than is read ahead
    ASSERT_EQ(pwrite(file.get(), padding.data(), padding.size(), lseek(file.get(), 0, SEEK_END)), 300000);
    const std::string package = root.beside("a.pkg").string();
    writeFlatPackage(package, {{"PackageInfo", "<pkg-info identifier='a' version='1'/>"}, {"Payload", "", file.get()}});
    const std::string whole = contentOf(package);
    const Snapshot before = root.snapshot();

    writeText(package, whole.substr(0, whole.size() - 1000));
    EXPECT_EQ(root.install(package).status, 1) << "cut off";
    EXPECT_EQ(root.snapshot(), before);

    std::string damaged = whole;
    damaged[damaged.size() - 1000] = 'y';
    writeText(package, damaged);
    EXPECT_EQ(root.install(package).status, 1) << "not what the checksum says";
    EXPECT_EQ(root.snapshot(), before);

    writeText(package, whole);
    EXPECT_EQ(root.install(package).status, 0);
}

TEST(InstallerDamage, OfRandomBytes) {
    const MacRoot root;
    const std::string package = root.beside("random.pkg").string();
    const Snapshot before = root.snapshot();
    std::mt19937 random(7); // NOLINT: the same bytes each time
    for (int i = 0; i < 20; ++i) {
        std::string bytes(1 + random() % 5000, '\0');
        for (char &byte : bytes) {
            byte = static_cast<char>(random());
        }
        // Half of them begin like a package.
        writeText(package, i % 2 == 0 ? bytes : std::string("xar!\0\x1c\0\x01", 8) + bytes);
        expectAllOrNothing(root, before, package, "round " + std::to_string(i));
        EXPECT_EQ(root.snapshot(), before);
    }
}

} // namespace kyb::macroot
