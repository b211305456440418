#include "posix/plist_guard.h"

#include "support/property_lists.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

namespace kyb {
namespace {

using namespace test;

std::string repeated(std::string_view text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

TEST(PlistGuard, LetsWhatLibplistWritesThrough) {
    plist_t inner = plist_new_array();
    for (int i = 0; i < 300; ++i) {
        plist_array_append_item(inner, plist_new_string("Grüße"));
        plist_array_append_item(inner, plist_new_uint(static_cast<std::uint64_t>(i) << 40));
    }
    plist_t root = plist_new_dict();
    plist_dict_set_item(root, "list", inner);
    plist_dict_set_item(root, "real", plist_new_real(1.5));
    plist_dict_set_item(root, "data", plist_new_data("\0\0\0", 3));
    plist_dict_set_item(root, "empty", plist_new_string(""));
    plist_dict_set_item(root, "long", plist_new_string(std::string(100'000, 'x').c_str()));
    plist_dict_set_item(root, "date", plist_new_date(1, 2));
    plist_dict_set_item(root, "bool", plist_new_bool(1));
    char *bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    EXPECT_TRUE(isSafeForLibplist({bytes, length}));
    plist_to_bin_free(bytes);
    plist_to_xml(root, &bytes, &length);
    EXPECT_TRUE(isSafeForLibplist({bytes, length}));
    plist_to_xml_free(bytes);
    plist_free(root);
}

TEST(PlistGuard, RefusesDepth) {
    EXPECT_TRUE(isSafeForLibplist(nestedList(64)));
    EXPECT_FALSE(isSafeForLibplist(nestedList(65)));
    EXPECT_FALSE(isSafeForLibplist(nestedList(100'000)));
    EXPECT_TRUE(isSafeForLibplist(nestedXml(10'000)));
    EXPECT_FALSE(isSafeForLibplist(nestedXml(10'001)));
}

TEST(PlistGuard, RefusesManyKeys) {
    const std::string dictionary = "<dict>" + repeated("<key>k</key><true/>", 5'000) + "</dict>";
    EXPECT_TRUE(isSafeForLibplist("<plist><array>" + repeated(dictionary, 2) + "</array></plist>"));
    EXPECT_FALSE(isSafeForLibplist("<plist><array>" + repeated(dictionary, 2) + "<dict><key>k</key><true/></dict>"));
    EXPECT_FALSE(isSafeForLibplist("<plist>" + repeated("<key a='b'>k</key>", 10'001)));
}

TEST(PlistGuard, RefusesManyKeysOfABinaryList) {
    std::string dictionary = "\xdf\x11";
    appendNumber(dictionary, 5'000, 2);
    for (int i = 0; i < 10'000; ++i) {
        appendNumber(dictionary, 2, kReferenceBytes);
    }
    EXPECT_TRUE(isSafeForLibplist(binaryList({array({1, 1}), dictionary, "\x51k"})));
    EXPECT_FALSE(isSafeForLibplist(binaryList({array({1, 1, 1}), dictionary, "\x51k"})));
}

TEST(PlistGuard, LeavesLibplistRoomAtTheDeepestThatItLetsThrough) {
    for (const std::string &list : {nestedList(64), nestedXml(10'000)}) {
        ASSERT_TRUE(isSafeForLibplist(list));
        plist_t root = nullptr;
        plist_from_memory(list.data(), static_cast<std::uint32_t>(list.size()), &root);
        plist_free(root);
    }
}

TEST(PlistGuard, RefusesACircle) {
    EXPECT_FALSE(isSafeForLibplist(binaryList({array({0})})));
    EXPECT_FALSE(isSafeForLibplist(binaryList({array({1}), array({0, 0})})));
}

TEST(PlistGuard, RefusesWhatDoublesWithEveryStep) {
    std::vector<std::string> objects;
    for (std::uint64_t i = 0; i < 40; ++i) {
        objects.push_back(array({i + 1, i + 1}));
    }
    objects.push_back("\x51x");
    EXPECT_FALSE(isSafeForLibplist(binaryList(objects)));
}

TEST(PlistGuard, RefusesALongTextThatIsReferredToOften) {
    std::string text = "\x5f\x12";
    appendNumber(text, 1'000'000, 4);
    text += std::string(1'000'000, 'x');
    std::string many = "\xaf\x11";
    appendNumber(many, 1000, 2);
    for (int i = 0; i < 1000; ++i) {
        appendNumber(many, 1, kReferenceBytes);
    }
    EXPECT_FALSE(isSafeForLibplist(binaryList({many, text})));
    const auto repeatedly = [&](std::size_t times) {
        std::string object = "\xaf\x10" + std::string(1, static_cast<char>(times));
        for (std::size_t i = 0; i < times; ++i) {
            appendNumber(object, 1, kReferenceBytes);
        }
        return binaryList({object, text});
    };
    EXPECT_TRUE(isSafeForLibplist(repeatedly(33))) << "of a megabyte each, for which two are reckoned";
    EXPECT_FALSE(isSafeForLibplist(repeatedly(34)));
    EXPECT_TRUE(isSafeForLibplist(binaryList({array({1, 1}), text})));
}

std::string xmlOf(const std::string &text) {
    return "<plist version=\"1.0\"><string>" + text + "</string></plist>";
}

TEST(PlistGuard, RefusesTextsWhoseEntitiesTakeLong) {
    EXPECT_TRUE(isSafeForLibplist(xmlOf(repeated("&lt;", 60'000))));
    EXPECT_FALSE(isSafeForLibplist(xmlOf(repeated("&lt;", 70'000))));
    EXPECT_FALSE(isSafeForLibplist(xmlOf(repeated("&#65;", 70'000))));
    EXPECT_FALSE(isSafeForLibplist(xmlOf(repeated("&lt;>", 70'000)))) << "a text may hold a >";
    EXPECT_FALSE(isSafeForLibplist(repeated("&lt;", 70'000))) << "without an element";
    EXPECT_FALSE(isSafeForLibplist(xmlOf(repeated("&lt;", 1'000) + std::string(20'000'000, 'x'))));
}

TEST(PlistGuard, CountsTheEntitiesOfAllTexts) {
    const std::string text = xmlOf(repeated("&lt;", 30'000));
    EXPECT_TRUE(isSafeForLibplist(repeated(text, 4)));
    EXPECT_FALSE(isSafeForLibplist(repeated(text, 5)));
    EXPECT_TRUE(isSafeForLibplist(repeated(xmlOf("a &amp; b"), 100'000)));
}

TEST(PlistGuard, BearsSixteenGibibytesMovedAndNoByteMore) {
    const std::string text = '<' + std::string((1 << 18) - 1 - (1 << 16), 'x') + std::string(1 << 16, '&');
    EXPECT_TRUE(isSafeForLibplist(text));
    EXPECT_FALSE(isSafeForLibplist(text + 'x'));
    EXPECT_FALSE(isSafeForLibplist(text + "<&"));
}

TEST(PlistGuard, RefusesANulInText) {
    EXPECT_TRUE(isSafeForLibplist(binaryList({"\x53xyz"})));
    EXPECT_FALSE(isSafeForLibplist(binaryList({std::string("\x53x\0z", 4)})));
    EXPECT_TRUE(isSafeForLibplist(binaryList({std::string("\x62\0x\1\0", 5)})));
    EXPECT_FALSE(isSafeForLibplist(binaryList({std::string("\x62\0x\0\0", 5)})));
}

TEST(PlistGuard, RefusesBytesInTextThatAreNoAscii) {
    EXPECT_TRUE(isSafeForLibplist(binaryList({"\x53xy\x7f"})));
    EXPECT_FALSE(isSafeForLibplist(binaryList({"\x53xy\x80"})));
    EXPECT_TRUE(isSafeForLibplist(binaryList({"\x61\xff\xfd"})));
}

TEST(PlistGuard, TakesTheReferencesOfAKeyedArchive) {
    EXPECT_TRUE(isSafeForLibplist(binaryList({std::string("\x80\0", 2)})));
}

TEST(PlistGuard, RefusesNumbersThatPointNowhere) {
    EXPECT_FALSE(isSafeForLibplist("bplist00"));
    EXPECT_FALSE(isSafeForLibplist("bplist00" + std::string(32, '\0')));
    EXPECT_FALSE(isSafeForLibplist("bplist00" + std::string(32, '\xff')));
    EXPECT_FALSE(isSafeForLibplist(binaryList({array({7})})));
    EXPECT_FALSE(isSafeForLibplist(binaryList({std::string("\xaf\x13\xff\xff\xff\xff\xff\xff\xff\xff", 10)})));
    EXPECT_FALSE(isSafeForLibplist(binaryList({std::string("\x5f\x1f\x01", 3)})));
}

TEST(PlistGuard, SurvivesEveryFlippedByte) {
    const std::string list = binaryList({array({1, 2}), "\x53xyz", "\xd0"});
    for (std::size_t at = 0; at < list.size(); ++at) {
        for (int bits = 1; bits < 256; ++bits) {
            std::string changed = list;
            changed[at] = static_cast<char>(changed[at] ^ bits);
            if (isSafeForLibplist(changed)) {
                plist_t root = nullptr;
                plist_from_memory(changed.data(), static_cast<std::uint32_t>(changed.size()), &root);
                plist_free(root);
            }
        }
    }
}

} // namespace
} // namespace kyb
