#include "folder_walk.h"

#include "install_error.h"
#include "mac_root.h"

#include <gtest/gtest.h>

namespace kyb::macroot {

namespace fs = std::filesystem;

/// A folder with a link "link" to a folder outside of it, which holds a file "file" and a folder "folder".
class FolderWalk : public testing::Test {
protected:
    FolderWalk() {
        fs::create_directories(m_outside / "folder");
        fs::create_directories(m_inside / "a/b");
        writeText(m_outside / "file", "kept");
        writeText(m_inside / "a/file", "text");
        fs::create_directory_symlink(m_outside.path(), m_inside / "link");
        m_base = openFolder(m_inside.path().string());
    }

    TempFolder m_outside;
    TempFolder m_inside;
    UniqueFd m_base;
};

TEST_F(FolderWalk, NeverGoesThroughALink) {
    const Snapshot before = snapshotOf(m_outside.path());
    const int base = m_base.get();
    EXPECT_THROW(openFolderBelow(base, "link"), InstallError);
    EXPECT_THROW(openFolderBelow(base, "link/folder"), InstallError);
    EXPECT_THROW(makeFolderBelow(base, "link/new"), InstallError);
    EXPECT_THROW((void)lookBelow(base, "link/file"), InstallError);
    EXPECT_THROW(removeBelow(base, "link/file"), InstallError);
    EXPECT_THROW(removeFileBelow(base, "link/file"), InstallError);
    EXPECT_THROW(removeEmptyFolderBelow(base, "link/folder"), InstallError);
    EXPECT_THROW(moveBelow(base, "a/file", base, "link/file"), InstallError);
    EXPECT_THROW(moveBelow(base, "link/file", base, "a/new"), InstallError);
    EXPECT_THROW(hardLinkBelow(base, "link/file", base, "a/new"), InstallError);
    EXPECT_THROW(createFileBelow(base, "link/new", 0644), InstallError);
    EXPECT_THROW((void)readFileBelow(base, "link/file"), InstallError);
    EXPECT_EQ(snapshotOf(m_outside.path()), before);
}

TEST_F(FolderWalk, RemovesALinkAndNotWhatItLeadsTo) {
    removeBelow(m_base.get(), "link");
    EXPECT_FALSE(fs::is_symlink(m_inside / "link"));
    EXPECT_EQ(contentOf(m_outside / "file"), "kept");
}

TEST_F(FolderWalk, RemovesATreeWithLinksInIt) {
    fs::create_directory_symlink(m_outside.path(), m_inside / "a/b/link");
    removeBelow(m_base.get(), "a");
    EXPECT_FALSE(fs::exists(m_inside / "a"));
    EXPECT_EQ(contentOf(m_outside / "file"), "kept");
}

TEST_F(FolderWalk, TellsAFolderThatIsNotThere) {
    EXPECT_FALSE(openFolderBelow(m_base.get(), "a/missing/b"));
    EXPECT_FALSE(lookBelow(m_base.get(), "a/missing/b"));
    EXPECT_FALSE(readFileBelow(m_base.get(), "a/missing"));
    EXPECT_THROW(openFolderBelow(m_base.get(), "a/file"), InstallError);
}

TEST_F(FolderWalk, MakesNoFileWhereOneIs) {
    EXPECT_THROW(createFileBelow(m_base.get(), "a/file", 0644), InstallError);
    EXPECT_EQ(contentOf(m_inside / "a/file"), "text");
}

TEST_F(FolderWalk, GivesAFileItsModeWhateverTheMask) {
    writeFileBelow(m_base.get(), "new/folder/file", "x", 0666);
    EXPECT_EQ(modeOf(m_inside / "new/folder/file"), 0666U);
    EXPECT_EQ(readFileBelow(m_base.get(), "new/folder/file"), "x");
}

TEST_F(FolderWalk, LeavesAFolderThatHoldsSomething) {
    removeEmptyFolderBelow(m_base.get(), "a");
    EXPECT_TRUE(fs::exists(m_inside / "a/file"));
    removeEmptyFolderBelow(m_base.get(), "a/b");
    EXPECT_FALSE(fs::exists(m_inside / "a/b"));
    removeEmptyFolderBelow(m_base.get(), "a/b");
}

} // namespace kyb::macroot
