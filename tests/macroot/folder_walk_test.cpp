#include "folder_walk.h"

#include "install_error.h"
#include "mac_root.h"

#include <exception>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace kyb::macroot {

namespace fs = std::filesystem;

/// Lets this process open so many more files, for as long as it lives.
class DescriptorLimit {
public:
    explicit DescriptorLimit(rlim_t more) {
        getrlimit(RLIMIT_NOFILE, &before_);
        const UniqueFd next(dup(STDERR_FILENO));
        const rlimit limit{static_cast<rlim_t>(next.get()) + more, before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &before_); }
    DescriptorLimit(const DescriptorLimit &) = delete;
    DescriptorLimit &operator=(const DescriptorLimit &) = delete;

private:
    rlimit before_{};
};

/// A folder with a link "link" to a folder outside of it, which holds a file "file" and a folder "folder".
class FolderWalk : public testing::Test {
protected:
    FolderWalk() {
        fs::create_directories(outside_ / "folder");
        fs::create_directories(inside_ / "a/b");
        writeText(outside_ / "file", "kept");
        writeText(inside_ / "a/file", "text");
        writeText(inside_ / "kept", "text");
        fs::create_directory_symlink(outside_.path(), inside_ / "link");
        base_ = openFolder(inside_.path().string());
    }

    TempFolder outside_;
    TempFolder inside_;
    UniqueFd base_;
};

TEST_F(FolderWalk, NeverGoesThroughALink) {
    const Snapshot before = snapshotOf(outside_.path());
    const int base = base_.get();
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
    EXPECT_THROW(readFileBelow(base, "link/file"), InstallError);
    EXPECT_EQ(snapshotOf(outside_.path()), before);
}

TEST_F(FolderWalk, RemovesALinkAndNotWhatItLeadsTo) {
    removeBelow(base_.get(), "link");
    EXPECT_FALSE(fs::is_symlink(inside_ / "link"));
    EXPECT_EQ(contentOf(outside_ / "file"), "kept");
}

TEST_F(FolderWalk, RemovesATreeWithLinksInIt) {
    fs::create_directory_symlink(outside_.path(), inside_ / "a/b/link");
    removeBelow(base_.get(), "a");
    EXPECT_FALSE(fs::exists(inside_ / "a"));
    EXPECT_EQ(contentOf(outside_ / "file"), "kept");
}

TEST_F(FolderWalk, RemovesATreeOfAnyDepthWithFewDescriptors) {
    UniqueFd folder = makeFolderBelow(base_.get(), "deep");
    for (int level = 0; level < 5'000; ++level) {
        // Names that the removal may want itself, with something in them.
        for (const char *const name : {"0", "1"}) {
            ASSERT_EQ(mkdirat(folder.get(), name, 0755), 0);
        }
        createFileBelow(folder.get(), "file", 0600);
        folder = openFolderBelow(folder.get(), level % 2 == 0 ? "0" : "1");
    }
    folder.reset();
    const DescriptorLimit limit(8);
    removeBelow(base_.get(), "deep");
    EXPECT_FALSE(fs::exists(inside_ / "deep"));
}

TEST_F(FolderWalk, RemovesFoldersThatTheirOwnerCannotEnter) {
    fs::create_directories(inside_ / "closed/a/b/c");
    for (const char *const path : {"closed/a/b", "closed/a", "closed"}) {
        fs::permissions(inside_ / path, fs::perms::none);
    }
    removeBelow(base_.get(), "closed");
    EXPECT_FALSE(fs::exists(inside_ / "closed"));
}

TEST_F(FolderWalk, TakesAFileThatCannotBeOpenedForNoMissingOne) {
    for (const char *const path : {"kept", "a/file"}) {
        std::exception_ptr thrown; // NB: outlives the limit, for a sanitizer looks at it by means of a pipe
        try {
            const DescriptorLimit limit(1); // for the folder, and none for the file
            readFileBelow(base_.get(), path);
        } catch (const InstallError &) {
            thrown = std::current_exception();
        }
        EXPECT_NE(thrown, nullptr) << path;
    }
}

TEST_F(FolderWalk, TellsAFolderThatIsNotThere) {
    EXPECT_FALSE(openFolderBelow(base_.get(), "a/missing/b"));
    EXPECT_FALSE(lookBelow(base_.get(), "a/missing/b"));
    EXPECT_FALSE(readFileBelow(base_.get(), "a/missing"));
    EXPECT_THROW(openFolderBelow(base_.get(), "a/file"), InstallError);
}

TEST_F(FolderWalk, MakesNoFileWhereOneIs) {
    EXPECT_THROW(createFileBelow(base_.get(), "a/file", 0644), InstallError);
    EXPECT_EQ(contentOf(inside_ / "a/file"), "text");
}

TEST_F(FolderWalk, GivesAFileItsModeWhateverTheMask) {
    writeFileBelow(base_.get(), "new/folder/file", "x", 0666);
    EXPECT_EQ(modeOf(inside_ / "new/folder/file"), 0666U);
    EXPECT_EQ(readFileBelow(base_.get(), "new/folder/file"), "x");
}

TEST_F(FolderWalk, LeavesAFolderThatHoldsSomething) {
    removeEmptyFolderBelow(base_.get(), "a");
    EXPECT_TRUE(fs::exists(inside_ / "a/file"));
    removeEmptyFolderBelow(base_.get(), "a/b");
    EXPECT_FALSE(fs::exists(inside_ / "a/b"));
    removeEmptyFolderBelow(base_.get(), "a/b");
}

} // namespace kyb::macroot
