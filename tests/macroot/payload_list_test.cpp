#include "payload.h"
#include "reason_of.h"

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
    const std::pair<std::vector<PayloadItem>, const char *> rows[] = {
        {{item(Kind::File, "../evil")}, "The payload holds a path outside of the target: ../evil"},
        {{item(Kind::File, "/evil")}, "The payload holds a path outside of the target: /evil"},
        {{item(Kind::File, "a/../../evil")}, "The payload holds a path outside of the target: a/../../evil"},
        {{item(Kind::Folder, "..")}, "The payload holds a path outside of the target: .."},
        {{item(Kind::SymbolicLink, "link", "/etc")}, "The payload holds a link that leaves the target: /link -> /etc"},
        {{item(Kind::SymbolicLink, "a/link", "../../etc")},
         "The payload holds a link that leaves the target: /a/link -> ../../etc"},
        {{item(Kind::SymbolicLink, "link", "folder"), item(Kind::File, "link/evil")},
         "The payload holds something below /link, which is no folder of it"},
        {{item(Kind::SymbolicLink, "a/link", "b"), item(Kind::File, "a/link/c/evil")},
         "The payload holds something below /a/link, which is no folder of it"},
        {{item(Kind::File, "file"), item(Kind::File, "file/evil")},
         "The payload holds something below /file, which is no folder of it"},
        {{item(Kind::SymbolicLink, "link", "file"), item(Kind::Folder, "link")}, "The payload holds /link twice"},
        {{item(Kind::SymbolicLink, "link", "file"), item(Kind::File, "link")}, "The payload holds /link twice"},
        {{item(Kind::File, "twice"), item(Kind::File, "twice")}, "The payload holds /twice twice"},
        {{item(Kind::Folder, "folder"), item(Kind::SymbolicLink, "folder", "a")}, "The payload holds /folder twice"},
        {{item(Kind::HardLink, "second", "missing")}, "The payload holds a hard link to no file of it: /second"},
        {{item(Kind::HardLink, "second", "../etc/passwd")},
         "The payload holds a path outside of the target: ../etc/passwd"},
        {{item(Kind::SymbolicLink, "link", "a"), item(Kind::HardLink, "second", "link")},
         "The payload holds a hard link to no file of it: /second"},
        {{item(Kind::File, ".")}, "The payload would replace the root folder"},
        {{item(Kind::SymbolicLink, ".", "a")}, "The payload would replace the root folder"},
    };
    for (const auto &[items, reason] : rows) {
        PayloadList list;
        for (std::size_t i = 0; i + 1 < items.size(); ++i) {
            list.add(items[i], "");
        }
        EXPECT_EQ(reasonOf([&list, &last = items.back()] { list.add(last, ""); }), reason);
    }
}

} // namespace kyb::macroot
