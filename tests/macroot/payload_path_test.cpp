#include "payload_path.h"

#include <climits>
#include <gtest/gtest.h>

namespace kyb::macroot {

TEST(PayloadPath, GivesOneFormOfEveryPathThatStaysBelow) {
    const std::pair<const char *, const char *> rows[] = {
        {".", ""},        {"./", ""},         {"a", "a"},         {"./a/b", "a/b"}, {"a//b/", "a/b"},
        {"a/./b", "a/b"}, {"..a/b", "..a/b"}, {"a/...", "a/..."}, {"./a b", "a b"}, {"a/b/././c", "a/b/c"},
    };
    for (const auto &[raw, path] : rows) {
        EXPECT_EQ(payloadPath(raw), path) << raw;
    }
}

TEST(PayloadPath, RefusesEveryPathThatCouldLeaveTheRoot) {
    for (const char *const raw : {"", "/", "/a", "//a", "..", "../a", "a/..", "a/../b", "./..", "a/../../b"}) {
        EXPECT_EQ(payloadPath(raw), std::nullopt) << raw;
    }
}

TEST(PayloadPath, RefusesAZeroByteAndTooLongAPath) {
    EXPECT_EQ(payloadPath(std::string_view("a\0b", 3)), std::nullopt);
    std::string longest(kLongestPayloadPath, 'a');
    for (std::size_t i = NAME_MAX; i < longest.size(); i += NAME_MAX + 1) {
        longest[i] = '/';
    }
    EXPECT_TRUE(payloadPath(longest));
    EXPECT_EQ(payloadPath(longest + 'a'), std::nullopt);
    EXPECT_TRUE(payloadPath(std::string(NAME_MAX, 'a')));
    EXPECT_EQ(payloadPath(std::string(NAME_MAX + 1, 'a')), std::nullopt);
}

TEST(PayloadPath, CutsAndJoins) {
    EXPECT_EQ(parentPath("a/b/c"), "a/b");
    EXPECT_EQ(parentPath("a"), "");
    EXPECT_EQ(leafName("a/b/c"), "c");
    EXPECT_EQ(leafName("a"), "a");
    EXPECT_EQ(joinedPath("", "a"), "a");
    EXPECT_EQ(joinedPath("a", ""), "a");
    EXPECT_EQ(joinedPath("a", "b"), "a/b");
    EXPECT_EQ(shownPath("a/b"), "/a/b");
}

TEST(PayloadPath, TellsWhereALinkLeads) {
    struct Row {
        const char *path;
        const char *target;
        bool staysBelow;
    };
    const Row rows[] = {
        {"a", "b", true},
        {"a/b", "../c", true},
        {"a/b/c", "../../d", true},
        {"a", ".", true},
        {"a/b", "./../c/..", false},
        {"a", "", false},
        {"a", "/b", false},
        {"a", "..", false},
        {"a/b", "../..", false},
        {"a/b", "c/../../..", false},
        {"a", "b/../../c", false},
        {"a/b/c/up", "../../..", true},
        {"d", "a/b/c/up/..", false}, // which is above the root, through the link of the row before
    };
    for (const Row &row : rows) {
        EXPECT_EQ(linkStaysBelowRoot(row.path, row.target), row.staysBelow) << row.path << " -> " << row.target;
    }
}

} // namespace kyb::macroot
