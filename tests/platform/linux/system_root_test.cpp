#include "Probe.h"
#include "support/RootFolder.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kyb {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string problemOf(const std::string &value) {
    return test::askProbe("KYB_SYSTEM_ROOT='" + value + "'", "root").at(0);
}

TEST(SystemRoot, IsTheRealOneWithoutTheVariable) {
    EXPECT_THAT(test::askProbe("-u KYB_SYSTEM_ROOT", "root"), ElementsAre("fine", "/", "/var/tmp/kyb"));
}

TEST(SystemRoot, MayBeNamedOutright) {
    EXPECT_THAT(test::askProbe("KYB_SYSTEM_ROOT=/", "root"), ElementsAre("fine", "/", "/var/tmp/kyb"));
    EXPECT_THAT(test::askProbe("KYB_SYSTEM_ROOT=///", "root"), ElementsAre("fine", "/", "/var/tmp/kyb"));
}

TEST(SystemRoot, IsPutBeforeEveryFixedPath) {
    const test::RootFolder root;
    for (const std::string slashes : {"", "/", "//"}) {
        EXPECT_THAT(test::askProbe("KYB_SYSTEM_ROOT=" + root.path() + slashes, "root"),
                    ElementsAre("fine", root.path(), root.at("/var/tmp/kyb")));
    }
}

TEST(SystemRoot, TakesEveryCharacterThatNeedsNoQuoting) {
    const test::RootFolder root("Az09._+,:@%=-");
    EXPECT_EQ(problemOf(root.path()), "fine");
}

TEST(SystemRoot, RefusesWhatAShellWouldRead) {
    for (const std::string character : {" ", "$", "\"", "\\", "&", ";", "*", "(", "~", "#", "`", "\n", "é"}) {
        const test::RootFolder root("a" + character + "b");
        EXPECT_THAT(problemOf(root.path()), HasSubstr("needs no quoting")) << character;
    }
}

TEST(SystemRoot, RefusesWhatIsNoAbsoluteFolder) {
    const test::RootFolder root;
    std::ofstream(root.at("/file")).put('\n');
    EXPECT_THAT(problemOf(""), HasSubstr("absolute folder"));
    EXPECT_THAT(problemOf("tmp"), HasSubstr("absolute folder"));
    EXPECT_THAT(problemOf("./"), HasSubstr("absolute folder"));
    EXPECT_THAT(problemOf(root.at("/missing")), HasSubstr("existing folder"));
    EXPECT_THAT(problemOf(root.at("/file")), HasSubstr("existing folder"));
}

} // namespace
} // namespace kyb
