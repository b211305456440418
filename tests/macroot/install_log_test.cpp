#include "install_error.h"
#include "install_log.h"

#include "folder_walk.h"
#include "mac_root.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace kyb::macroot {

using testing::MatchesRegex;

TEST(InstallLogLine, BeginsWithDateHostAndProcess) {
    EXPECT_THAT(installLogLine(1700000000, "mac", 42, "text\nmore"),
                MatchesRegex("2023-11-1[45] [0-9:]{8}[-+][0-9]{4} mac installer\\[42\\]: text more\n"));
}

TEST(InstallLogLine, IsUtf8WhateverTheMessageIs) {
    const std::pair<const char *, const char *> rows[] = {
        {"Grüße…𝄞", "Grüße…𝄞"},
        {"a\xe9z", "a\uFFFDz"},
        {"cut \xe2\x80", "cut \uFFFD\uFFFD"},
        {"\x80|\xc3|\xf8\x88\x80\x80\x80", "\uFFFD|\uFFFD|\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xc0\xaf \xe0\x80\xaf", "\uFFFD\uFFFD \uFFFD\uFFFD\uFFFD"},                     // "/" in two and three bytes
        {"\xed\xa0\x80 \xf4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD \uFFFD\uFFFD\uFFFD\uFFFD"}, // no characters
        {"\xc3\n\xe2\x7f", "\uFFFD \uFFFD "},
    };
    for (const auto &[message, shown] : rows) {
        EXPECT_THAT(installLogLine(0, "mac", 1, message), testing::EndsWith(std::string("]: ") + shown + "\n"));
    }
}

TEST(InstallLog, AppendsToWhatIsThere) {
    const TempFolder root;
    std::filesystem::create_directories(root / "var/log");
    writeText(root / "var/log/install.log", "earlier\n");
    const InstallLog log(openFolder(root.path().string()).get());
    log.write("now");
    EXPECT_THAT(contentOf(root / "var/log/install.log"), MatchesRegex("earlier\n.* installer\\[[0-9]+\\]: now\n"));
}

TEST(InstallLog, IsMadeWhenItIsNotThere) {
    const TempFolder root;
    const InstallLog log(openFolder(root.path().string()).get());
    EXPECT_TRUE(std::filesystem::exists(root / "var/log/install.log"));
}

TEST(InstallLog, IsNeverWrittenThroughALink) {
    const TempFolder root;
    std::filesystem::create_directories(root / "var/log");
    writeText(root / "other", "kept");
    std::filesystem::create_symlink(root / "other", root / "var/log/install.log");
    EXPECT_THROW(InstallLog(openFolder(root.path().string()).get()), InstallError);
    EXPECT_EQ(contentOf(root / "other"), "kept");
}

TEST(InstallLog, IsNoFifo) {
    const TempFolder root;
    std::filesystem::create_directories(root / "var/log");
    ASSERT_EQ(mkfifo((root / "var/log/install.log").c_str(), 0600), 0);
    EXPECT_THROW(InstallLog(openFolder(root.path().string()).get()), InstallError);
}

} // namespace kyb::macroot
