#include "bom.h"

#include <array>
#include <cstdio>
#include <gmock/gmock.h>
#include <stdexcept>
#include <sys/stat.h>

namespace kyb::macroot {
namespace {

constexpr std::size_t kTableField = 16; // where the header says where the table is
constexpr std::size_t kNamesField = 24; // and where the names are, and how long

/// Four bytes of it, which are a big-endian number.
std::size_t number(const std::string &bytes, std::size_t at) {
    std::size_t value = 0;
    for (const char byte : bytes.substr(at, 4)) {
        value = value << 8 | static_cast<unsigned char>(byte);
    }
    return value;
}

/// Readable: characters as they are, other bytes in hexadecimal, and how many zeros there are.
std::string shown(const std::string &bytes) {
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        const std::size_t zeros = std::min(bytes.find_first_not_of('\0', at), bytes.size()) - at;
        std::array<char, 32> part{};
        if (zeros > 0) {
            std::snprintf(part.data(), part.size(), " 0*%zu ", zeros);
            at += zeros - 1;
        } else if (bytes[at] > ' ' && bytes[at] < 0x7F) {
            part[0] = bytes[at];
        } else {
            std::snprintf(part.data(), part.size(), "<%02x>", static_cast<unsigned char>(bytes[at]));
        }
        text += part.data();
    }
    return text;
}

std::string block(const std::string &bom, std::size_t its) {
    const std::size_t entry = number(bom, kTableField) + 4 + 8 * its;
    return bom.substr(number(bom, entry), number(bom, entry + 4));
}

/// Header, blocks and names.
std::vector<std::string> partsOf(const std::string &bom) {
    const std::size_t table = number(bom, kTableField);
    std::vector<std::string> parts{shown(bom.substr(0, 512))};
    for (std::size_t its = 1; its < number(bom, table); ++its) {
        parts.push_back(shown(block(bom, its)));
    }
    parts.push_back(shown(bom.substr(number(bom, kNamesField), number(bom, kNamesField + 4))));
    return parts;
}

BomItem item(const std::string &path, mode_t mode, const std::string &content = {}) {
    BomItem item{.path = path, .mode = mode, .modified = 0x01020304, .sizeBytes = 0, .checksum = {}, .linkTarget = {}};
    item.sizeBytes = static_cast<std::uint32_t>(content.size());
    item.checksum.add(content);
    item.linkTarget = S_ISLNK(mode) ? content : std::string();
    return item;
}

// As `lsbom` and the installer of macOS read it; the checksums are those that `cksum` prints.
TEST(Bom, HoldsEveryItemInTheOrderOfItsKeys) {
    const std::vector<BomItem> items{item(".", S_IFDIR | 0755), item("./b", S_IFDIR | 0700),
                                     item("./b/file", S_IFREG | 0644, "content"),
                                     item("./a", S_IFLNK | 0777, "b/file")};
    const std::vector<std::string> expected{
        "BOMStore 0*3 <01> 0*3 <16> 0*2 4<03> 0*3 <d0> 0*2 3<c7> 0*3 < 0*480 ",
        " 0*3 <01> 0*3 <05> 0*3 <01> 0*11 <0d> 0*4 ",
        "<02><01> 0*1 <0f>A<ed> 0*8 <01><02><03><04> 0*4 <01> 0*8 ",
        " 0*3 <01> 0*3 <02>",
        " 0*4 . 0*1 ",
        "<03><01> 0*1 <0f><a1><ff> 0*8 <01><02><03><04> 0*3 <06><01><cc><dc><ee><b2> 0*3 <07>b/file 0*9 ",
        " 0*3 <02> 0*3 <05>",
        " 0*3 <01>a 0*1 ",
        "<02><01> 0*1 <0f>A<c0> 0*8 <01><02><03><04> 0*4 <01> 0*8 ",
        " 0*3 <03> 0*3 <08>",
        " 0*3 <01>b 0*1 ",
        "<01><01> 0*1 <0f><81><a4> 0*8 <01><02><03><04> 0*3 <07><01>^<1e><c6>. 0*8 ",
        " 0*3 <04> 0*3 <0b>",
        " 0*3 <03>file 0*1 ",
        " 0*1 <01> 0*1 <04> 0*11 <03> 0*3 <04> 0*3 <06> 0*3 <07> 0*3 <09> 0*3 <0a> 0*3 <0c> 0*3 <0d> 0*4052 ",
        "tree 0*3 <01> 0*3 <0e> 0*2 <10> 0*4 <04> 0*1 ",
        " 0*1 <01> 0*4094 ",
        "tree 0*3 <01> 0*3 <10> 0*2 <10> 0*6 ",
        " 0*1 <01> 0*126 ",
        "tree 0*3 <01> 0*3 <12> 0*3 <80> 0*5 ",
        " 0*3 <01> 0*3 <13> 0*5 ",
        " 0*1 <01> 0*4094 ",
        "tree 0*3 <01> 0*3 <15> 0*2 <10> 0*6 ",
        " 0*3 <05> 0*3 <01><07>BomInfo 0*3 <0f><05>Paths 0*3 <11><07>HLIndex 0*3 <14><06>VIndex 0*3 <16><06>Size64"};
    EXPECT_THAT(partsOf(bomText(items)), testing::ContainerEq(expected));
}

std::vector<BomItem> filesInOneFolder(std::size_t count) {
    std::vector<BomItem> items{item(".", S_IFDIR | 0755)};
    for (std::size_t i = 0; i < count; ++i) {
        items.push_back(item("./" + std::to_string(1'000'000 + i), S_IFREG | 0644));
    }
    return items;
}

/// The blocks that a node leads to, each with the key beside it.
std::vector<std::pair<std::size_t, std::string>> pairsOf(const std::string &bom, const std::string &node) {
    std::vector<std::pair<std::size_t, std::string>> pairs;
    for (std::size_t at = 12; at < 12 + 8 * (number(node, 0) & 0xFFFF); at += 8) {
        pairs.emplace_back(number(node, at), block(bom, number(node, at + 4)).substr(4));
    }
    return pairs;
}

TEST(Bom, HasATableOfBlocksThatFollowEachOther) {
    const std::string bom = bomText({item(".", S_IFDIR | 0755)});
    const std::string table = bom.substr(number(bom, kTableField));
    const std::size_t count = number(table, 0);
    EXPECT_EQ(table.size(), number(bom, kTableField + 4));
    EXPECT_EQ(table.size(), 4 + 8 * count + 20);
    EXPECT_EQ(table.substr(4, 8), std::string(8, '\0')) << "there is no block 0";
    EXPECT_EQ(table.substr(4 + 8 * count), std::string(20, '\0')) << "nor one that is free";
    std::size_t place = 512;
    for (std::size_t entry = 12; entry < 4 + 8 * count; entry += 8) {
        EXPECT_EQ(number(table, entry), place);
        place += number(table, entry + 4);
    }
    EXPECT_EQ(number(bom, kNamesField), place);
    EXPECT_EQ(number(bom, kTableField), place + number(bom, kNamesField + 4));
}

TEST(Bom, PartsManyItemsIntoLeavesThatKnowTheirNeighbours) {
    const std::string bom = bomText(filesInOneFolder(2 * 510 + 10));
    std::size_t its = 1;
    while (!block(bom, its).starts_with("tree")) {
        ++its;
    }
    EXPECT_EQ(number(block(bom, its), 16), 1031U);
    const std::string root = block(bom, number(block(bom, its), 8));
    EXPECT_EQ(shown(root.substr(0, 12)), " 0*3 <03> 0*8 ") << "no leaf, with three pairs";
    const auto leaves = pairsOf(bom, root);
    ASSERT_EQ(leaves.size(), 3U);
    const std::size_t counts[] = {510, 510, 11};
    for (std::size_t i = 0; i < leaves.size(); ++i) {
        const std::string leaf = block(bom, leaves[i].first);
        EXPECT_EQ(leaf.size(), 4096U);
        EXPECT_EQ(number(leaf, 0), 0x1'0000 + counts[i]);
        EXPECT_EQ(number(leaf, 4), i == 2 ? 0 : leaves[i + 1].first);
        EXPECT_EQ(number(leaf, 8), i == 0 ? 0 : leaves[i - 1].first);
        EXPECT_EQ(pairsOf(bom, leaf).back().second, leaves[i].second) << "its last key";
    }
}

TEST(Bom, HasALeafThatIsFull) {
    EXPECT_EQ(partsOf(bomText(filesInOneFolder(509))).size() - partsOf(bomText(filesInOneFolder(508))).size(), 3U);
    EXPECT_EQ(partsOf(bomText(filesInOneFolder(510))).size() - partsOf(bomText(filesInOneFolder(509))).size(), 5U)
        << "a second leaf, and a node above them";
}

TEST(Bom, HasRoomForTwoLevelsAndNoMore) {
    EXPECT_NO_THROW(bomText(filesInOneFolder(510 * 510 - 1)));
    EXPECT_THROW(bomText(filesInOneFolder(510 * 510)), std::runtime_error);
}

TEST(Bom, RefusesAnItemTwiceAndOneWithoutItsFolder) {
    EXPECT_THROW(bomText({item(".", S_IFDIR | 0755), item("./a", S_IFREG | 0644), item("./a", S_IFREG | 0644)}),
                 std::runtime_error);
    EXPECT_THROW(bomText({item(".", S_IFDIR | 0755), item("./a/b", S_IFREG | 0644)}), std::runtime_error);
}

} // namespace
} // namespace kyb::macroot
