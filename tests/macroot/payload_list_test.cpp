#include "install_error.h"
#include "payload.h"

#include <gmock/gmock.h>

namespace kyb::macroot {
namespace {

using Kind = PayloadItem::Kind;
using testing::ElementsAre;

PayloadItem item(Kind kind, std::string path, std::string linkTarget = {}) {
    PayloadItem made;
    made.kind = kind;
    made.path = std::move(path);
    made.linkTarget = std::move(linkTarget);
    return made;
}

std::vector<std::string> pathsOf(const PayloadList &list) {
    std::vector<std::string> paths;
    for (const auto &[path, ignored] : list.items()) {
        paths.push_back(path);
    }
    return paths;
}

} // namespace

TEST(PayloadList, PutsEveryFolderBeforeWhatItHolds) {
    PayloadList list;
    list.add(item(Kind::File, "./b/c/d"), "");
    list.add(item(Kind::File, "a-file"), "");
    list.add(item(Kind::Folder, "./b"), "");
    EXPECT_THAT(pathsOf(list), ElementsAre("a-file", "b", "b/c", "b/c/d"));
}

TEST(PayloadList, PlacesBelowTheInstallLocation) {
    PayloadList list;
    list.add(item(Kind::Folder, "."), "Library/Printers");
    list.add(item(Kind::File, "./driver"), "Library/Printers");
    EXPECT_THAT(pathsOf(list), ElementsAre("Library", "Library/Printers", "Library/Printers/driver"));
}

TEST(PayloadList, TakesAFoldersModeFromItsOwnEntryWheneverItComes) {
    PayloadList list;
    list.add(item(Kind::File, "a/b"), "");
    EXPECT_EQ(list.items().at("a").mode, 0755U);
    PayloadItem folder = item(Kind::Folder, "a");
    folder.mode = 0700;
    list.add(folder, "");
    EXPECT_EQ(list.items().at("a").mode, 0700U);
}

TEST(PayloadList, SumsTheBytesOfTheFiles) {
    PayloadList list;
    for (const char *const name : {"a", "b"}) {
        PayloadItem file = item(Kind::File, name);
        file.sizeBytes = 21;
        list.add(file, "");
    }
    EXPECT_EQ(list.totalBytes(), 42);
}

TEST(PayloadList, TakesLinksThatStayBelow) {
    PayloadList list;
    list.add(item(Kind::File, "a/file"), "");
    list.add(item(Kind::SymbolicLink, "a/link", "file"), "");
    list.add(item(Kind::HardLink, "b/second", "./a/file"), "");
    EXPECT_EQ(list.items().at("b/second").linkTarget, "a/file");
}

TEST(PayloadList, RefusesWhatCouldLeaveTheRoot) {
    const std::vector<std::vector<PayloadItem>> rows = {
        {item(Kind::File, "../evil")},
        {item(Kind::File, "/evil")},
        {item(Kind::File, "a/../../evil")},
        {item(Kind::Folder, "..")},
        {item(Kind::SymbolicLink, "link", "/etc")},
        {item(Kind::SymbolicLink, "a/link", "../../etc")},
        {item(Kind::SymbolicLink, "link", "folder"), item(Kind::File, "link/evil")},
        {item(Kind::SymbolicLink, "a/link", "b"), item(Kind::File, "a/link/c/evil")},
        {item(Kind::File, "file"), item(Kind::File, "file/evil")},
        {item(Kind::SymbolicLink, "link", "file"), item(Kind::Folder, "link")},
        {item(Kind::SymbolicLink, "link", "file"), item(Kind::File, "link")},
        {item(Kind::File, "twice"), item(Kind::File, "twice")},
        {item(Kind::Folder, "folder"), item(Kind::SymbolicLink, "folder", "a")},
        {item(Kind::HardLink, "second", "missing")},
        {item(Kind::HardLink, "second", "../etc/passwd")},
        {item(Kind::SymbolicLink, "link", "a"), item(Kind::HardLink, "second", "link")},
        {item(Kind::File, ".")},
        {item(Kind::SymbolicLink, ".", "a")},
    };
    for (const auto &row : rows) {
        PayloadList list;
        for (std::size_t i = 0; i + 1 < row.size(); ++i) {
            list.add(row[i], "");
        }
        EXPECT_THROW(list.add(row.back(), ""), InstallError) << row.back().path;
    }
}

} // namespace kyb::macroot
