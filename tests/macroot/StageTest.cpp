#include "stage.h"

#include "folder_walk.h"
#include "install_error.h"
#include "mac_root.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <functional>

namespace kyb::macroot {

namespace fs = std::filesystem;

/// A root with some files, and a payload that replaces two of them and brings three more in new folders.
class StageTest : public testing::Test {
protected:
    StageTest() {
        fs::create_directories(m_root / "a");
        fs::create_directories(m_root / "var/db");
        writeText(m_root / "a/old", "old");
        writeText(m_root / "a/kept", "kept");
        fs::create_symlink("kept", m_root / "a/link");
        m_rootFd = openFolder(m_root.path().string());
        for (const char *const path : {"a/old", "a/link", "a/new", "b/c/new", "b/d/e/new"}) {
            PayloadItem item;
            item.kind = PayloadItem::Kind::File;
            item.path = path;
            item.mode = 0640;
            m_list.add(item, "");
        }
        m_before = snapshotOf(m_root.path());
    }

    void fill(const Stage &stage) const {
        for (const auto &[path, item] : m_list.items()) {
            if (item.kind == PayloadItem::Kind::File) {
                writeFileBelow(stage.files(), path, "from the package", item.mode);
            }
        }
    }
    void place(Stage &stage, std::size_t count) const {
        fill(stage);
        stage.plan(m_list.items());
        for (const auto &[path, item] : m_list.items()) {
            if (count-- == 0) {
                return;
            }
            stage.place(item);
        }
    }
    // Leaves a stage as a kill does: without its destructor.
    void workAndBeKilled(const std::function<void(Stage &)> &work) const {
        const pid_t child = ::fork();
        if (child == 0) {
            Stage stage(m_rootFd.get());
            work(stage);
            ::raise(SIGKILL);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    }

    TempFolder m_root;
    UniqueFd m_rootFd;
    PayloadList m_list;
    Snapshot m_before;
};

TEST_F(StageTest, PutsAllInPlaceAndRemovesItselfAfterACommit) {
    {
        Stage stage(m_rootFd.get());
        place(stage, m_list.items().size());
        stage.commit();
    }
    for (const char *const path : {"a/old", "a/link", "a/new", "b/c/new", "b/d/e/new"}) {
        EXPECT_EQ(contentOf(m_root / path), "from the package") << path;
        EXPECT_EQ(modeOf(m_root / path), 0640U) << path;
    }
    EXPECT_EQ(contentOf(m_root / "a/kept"), "kept");
    EXPECT_FALSE(fs::exists(m_root / Stage::folder));
}

TEST_F(StageTest, TakesAllBackWithoutACommit) {
    for (std::size_t count = 0; count <= m_list.items().size(); ++count) {
        {
            Stage stage(m_rootFd.get());
            place(stage, count);
        }
        EXPECT_EQ(snapshotOf(m_root.path()), m_before) << count;
    }
}

TEST_F(StageTest, IsTakenBackByTheNextRunWhereverItWasKilled) {
    for (std::size_t count = 0; count <= m_list.items().size(); ++count) {
        workAndBeKilled([&](Stage &stage) { place(stage, count); });
        EXPECT_TRUE(fs::exists(m_root / Stage::folder));
        EXPECT_TRUE(Stage::recover(m_rootFd.get()));
        EXPECT_EQ(snapshotOf(m_root.path()), m_before) << count;
    }
}

TEST_F(StageTest, IsTakenBackAgainWhenTakingBackWasKilled) {
    workAndBeKilled([&](Stage &stage) { place(stage, m_list.items().size()); });
    const TempFolder copy;
    fs::copy(m_root / Stage::folder, copy / "stage", fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    ASSERT_TRUE(Stage::recover(m_rootFd.get()));
    // The record is still there, what it saved is back already.
    fs::remove_all(copy / "stage/saved");
    fs::create_directories((m_root / Stage::folder).parent_path());
    fs::copy(copy / "stage", m_root / Stage::folder, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    EXPECT_TRUE(Stage::recover(m_rootFd.get()));
    EXPECT_EQ(snapshotOf(m_root.path()), m_before);
}

TEST_F(StageTest, KeepsWhatAKilledRunHadCommitted) {
    workAndBeKilled([&](Stage &stage) {
        place(stage, m_list.items().size());
        stage.commit();
    });
    EXPECT_TRUE(Stage::recover(m_rootFd.get()));
    EXPECT_EQ(contentOf(m_root / "b/d/e/new"), "from the package");
    EXPECT_FALSE(fs::exists(m_root / Stage::folder));
}

TEST_F(StageTest, FindsNothingToRecoverInACleanRoot) {
    EXPECT_FALSE(Stage::recover(m_rootFd.get()));
}

TEST_F(StageTest, RefusesAPlanWithSomethingInTheWay) {
    const TempFolder outside;
    fs::create_directory_symlink(outside.path(), m_root / "b");
    {
        Stage stage(m_rootFd.get());
        EXPECT_THROW(stage.plan(m_list.items()), InstallError);
    }
    fs::remove(m_root / "b");
    fs::create_directories(m_root / "b/c/new"); // a folder where a file goes
    {
        Stage stage(m_rootFd.get());
        EXPECT_THROW(stage.plan(m_list.items()), InstallError);
    }
    EXPECT_TRUE(fs::is_empty(outside.path()));
}

TEST_F(StageTest, RefusesAPayloadForItsOwnFolder) {
    PayloadItem item;
    item.kind = PayloadItem::Kind::File;
    item.path = std::string(Stage::folder) + "/plan";
    m_list.add(item, "");
    Stage stage(m_rootFd.get());
    EXPECT_THROW(stage.plan(m_list.items()), InstallError);
}

TEST_F(StageTest, LocksForOneAtATime) {
    const InstallLock first(m_rootFd.get());
    EXPECT_TRUE(first.tryToTake());
    {
        const InstallLock second(m_rootFd.get());
        EXPECT_FALSE(second.tryToTake());
    }
    EXPECT_TRUE(first.tryToTake());
}

} // namespace kyb::macroot
