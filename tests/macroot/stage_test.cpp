#include "stage.h"

#include "folder_walk.h"
#include "install_error.h"
#include "mac_root.h"

#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace kyb::macroot {

namespace fs = std::filesystem;

/// A root with some files, and a payload that replaces two of them and brings three more in new folders.
class StageTest : public testing::Test {
protected:
    StageTest() {
        fs::create_directories(root_ / "a");
        fs::create_directories(root_ / "var/db");
        writeText(root_ / "a/old", "old");
        writeText(root_ / "a/kept", "kept");
        fs::create_symlink("kept", root_ / "a/link");
        rootFd_ = openFolder(root_.path().string());
        for (const char *const path : {"a/old", "a/link", "a/new", "b/c/new", "b/d/e/new"}) {
            PayloadItem item;
            item.kind = PayloadItem::Kind::File;
            item.path = path;
            item.mode = 0640;
            list_.add(item, "");
        }
        before_ = snapshotOf(root_.path());
    }

    void fill(const Stage &stage) const {
        for (const auto &[path, item] : list_.items()) {
            if (item.kind == PayloadItem::Kind::File) {
                writeFileBelow(stage.files(), path, "from the package", item.mode);
            }
        }
    }
    void place(Stage &stage, std::size_t count) const {
        fill(stage);
        stage.plan(list_.items());
        placePlanned(stage, count);
    }
    void placePlanned(Stage &stage, std::size_t count) const {
        for (const auto &[path, item] : list_.items()) {
            if (count-- == 0) {
                return;
            }
            stage.place(item);
        }
    }
    // Leaves a stage as a kill does: without its destructor.
    void workAndBeKilled(const std::function<void(Stage &)> &work) const {
        const pid_t child = fork();
        if (child == 0) {
            Stage stage(rootFd_.get());
            work(stage);
            raise(SIGKILL);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    }

    TempFolder root_;
    UniqueFd rootFd_;
    PayloadList list_;
    Snapshot before_;
};

TEST_F(StageTest, IsItsOwners) {
    Stage stage(rootFd_.get());
    place(stage, 0);
    const fs::path folder = root_ / std::string(Stage::kFolder);
    EXPECT_EQ(modeOf(folder), 0700U);
    EXPECT_EQ(modeOf(folder / "plan"), 0600U);
}

TEST_F(StageTest, PutsAllInPlaceAndRemovesItselfAfterACommit) {
    {
        Stage stage(rootFd_.get());
        place(stage, list_.items().size());
        stage.commit();
    }
    for (const char *const path : {"a/old", "a/link", "a/new", "b/c/new", "b/d/e/new"}) {
        EXPECT_EQ(contentOf(root_ / path), "from the package") << path;
        EXPECT_EQ(modeOf(root_ / path), 0640U) << path;
    }
    EXPECT_EQ(contentOf(root_ / "a/kept"), "kept");
    EXPECT_FALSE(fs::exists(root_ / Stage::kFolder));
}

TEST_F(StageTest, TakesAllBackWithoutACommit) {
    for (std::size_t count = 0; count <= list_.items().size(); ++count) {
        {
            Stage stage(rootFd_.get());
            place(stage, count);
        }
        EXPECT_EQ(snapshotOf(root_.path()), before_) << count;
    }
}

TEST_F(StageTest, IsTakenBackByTheNextRunWhereverItWasKilled) {
    for (std::size_t count = 0; count <= list_.items().size(); ++count) {
        workAndBeKilled([&](Stage &stage) { place(stage, count); });
        EXPECT_TRUE(fs::exists(root_ / Stage::kFolder));
        EXPECT_TRUE(Stage::recover(rootFd_.get()));
        EXPECT_EQ(snapshotOf(root_.path()), before_) << count;
    }
}

TEST_F(StageTest, IsTakenBackAgainWhenTakingBackWasKilled) {
    workAndBeKilled([&](Stage &stage) { place(stage, list_.items().size()); });
    const TempFolder copy;
    fs::copy(root_ / Stage::kFolder, copy / "stage", fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    ASSERT_TRUE(Stage::recover(rootFd_.get()));
    // The record is still there, what it saved is back already.
    fs::remove_all(copy / "stage/saved");
    fs::create_directories((root_ / Stage::kFolder).parent_path());
    fs::copy(copy / "stage", root_ / Stage::kFolder, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    EXPECT_TRUE(Stage::recover(rootFd_.get()));
    EXPECT_EQ(snapshotOf(root_.path()), before_);
}

TEST_F(StageTest, TakesAFileThatIsGoneSinceThePlanForANewOne) {
    before_.erase("a/old");
    for (std::size_t count = 0; count <= list_.items().size(); ++count) {
        writeText(root_ / "a/old", "old");
        workAndBeKilled([&](Stage &stage) {
            fill(stage);
            stage.plan(list_.items());
            fs::remove(root_ / "a/old");
            placePlanned(stage, count);
        });
        EXPECT_EQ(fs::exists(root_ / "b/d/e/new"), count == list_.items().size());
        EXPECT_TRUE(Stage::recover(rootFd_.get()));
        EXPECT_EQ(snapshotOf(root_.path()), before_) << count;
    }
}

TEST_F(StageTest, IsTakenBackWhateverAScriptHasPutIntoIt) {
    workAndBeKilled([&](Stage &stage) { place(stage, list_.items().size()); });
    fs::create_symlink("/", root_ / Stage::kFolder / "gone");
    EXPECT_TRUE(Stage::recover(rootFd_.get()));
    EXPECT_EQ(snapshotOf(root_.path()), before_);
}

TEST_F(StageTest, KeepsWhatAKilledRunHadCommitted) {
    workAndBeKilled([&](Stage &stage) {
        place(stage, list_.items().size());
        stage.commit();
    });
    EXPECT_TRUE(Stage::recover(rootFd_.get()));
    EXPECT_EQ(contentOf(root_ / "b/d/e/new"), "from the package");
    EXPECT_FALSE(fs::exists(root_ / Stage::kFolder));
}

TEST_F(StageTest, GoesToTheTrashWhereItCannotHoldUpTheNextRun) {
    for (int run = 0; run < 3; ++run) {
        fs::create_directories(root_ / Stage::kTrash / std::to_string(run) / "busy");
        workAndBeKilled([&](Stage &stage) { place(stage, list_.items().size()); });
        EXPECT_TRUE(Stage::recover(rootFd_.get()));
        EXPECT_EQ(snapshotOf(root_.path()), before_);
    }
}

TEST_F(StageTest, TakesTheRestBackWhenOneThingCannotBeAndKeepsThat) {
    {
        Stage stage(rootFd_.get());
        place(stage, list_.items().size());
        fs::remove(root_ / "a/old");
        fs::create_directories(root_ / "a/old/in the way");
    }
    EXPECT_EQ(fs::read_symlink(root_ / "a/link"), "kept");
    EXPECT_FALSE(fs::exists(root_ / "a/new"));
    EXPECT_FALSE(fs::exists(root_ / "b"));
    EXPECT_EQ(contentOf(root_ / Stage::kKept / "0/a/old"), "old");
    EXPECT_EQ(modeOf(root_ / Stage::kKept), 0700U);
    EXPECT_FALSE(Stage::recover(rootFd_.get()));
}

TEST_F(StageTest, TellsWhatCannotBeTakenBackAndWhereItIs) {
    workAndBeKilled([&](Stage &stage) { place(stage, list_.items().size()); });
    fs::remove(root_ / "a/old");
    fs::create_directories(root_ / "a/old/in the way");
    try {
        Stage::recover(rootFd_.get());
        ADD_FAILURE();
    } catch (const InstallError &error) {
        EXPECT_STREQ(error.what(), "Not all could be rolled back: /a/old: Is a directory (the rest of what was there "
                                   "before is kept in /var/db/.installer-kept/0)");
    }
    EXPECT_FALSE(fs::exists(root_ / Stage::kFolder));
}

TEST_F(StageTest, PutsAFileBackWhoseFolderIsGone) {
    {
        Stage stage(rootFd_.get());
        place(stage, list_.items().size());
        fs::remove_all(root_ / "a");
    }
    EXPECT_EQ(contentOf(root_ / "a/old"), "old");
    EXPECT_FALSE(fs::exists(root_ / Stage::kKept));
}

TEST_F(StageTest, GivesNewFoldersTheirModesLast) {
    PayloadItem folder;
    folder.path = "b/c";
    folder.mode = 0555;
    list_.add(folder, "");
    folder.path = "a"; // which is there already
    list_.add(folder, "");
    Stage stage(rootFd_.get());
    place(stage, list_.items().size());
    EXPECT_EQ(modeOf(root_ / "b/c"), 0700U);
    stage.giveFolderModes();
    EXPECT_EQ(modeOf(root_ / "b/c"), 0555U);
    EXPECT_EQ(modeOf(root_ / "b/d"), 0755U);
    EXPECT_EQ(modeOf(root_ / "a"), 0755U);
}

TEST_F(StageTest, FindsNothingToRecoverInACleanRoot) {
    EXPECT_FALSE(Stage::recover(rootFd_.get()));
}

TEST_F(StageTest, RefusesAPlanWithSomethingInTheWay) {
    const TempFolder outside;
    fs::create_directory_symlink(outside.path(), root_ / "b");
    {
        Stage stage(rootFd_.get());
        EXPECT_THROW(stage.plan(list_.items()), InstallError);
    }
    fs::remove(root_ / "b");
    fs::create_directories(root_ / "b/c/new"); // a folder where a file goes
    {
        Stage stage(rootFd_.get());
        EXPECT_THROW(stage.plan(list_.items()), InstallError);
    }
    EXPECT_TRUE(fs::is_empty(outside.path()));
}

TEST_F(StageTest, RefusesAPayloadForItsOwnFolder) {
    PayloadItem item;
    item.kind = PayloadItem::Kind::File;
    item.path = std::string(Stage::kFolder) + "/plan";
    list_.add(item, "");
    Stage stage(rootFd_.get());
    EXPECT_THROW(stage.plan(list_.items()), InstallError);
}

TEST_F(StageTest, LocksForOneAtATime) {
    const InstallLock first(rootFd_.get());
    EXPECT_TRUE(first.tryToTake());
    {
        const InstallLock second(rootFd_.get());
        EXPECT_FALSE(second.tryToTake());
    }
    EXPECT_TRUE(first.tryToTake());
}

} // namespace kyb::macroot
