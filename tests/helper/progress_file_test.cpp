#include "ProgressFile.h"

#include "support/RootFolder.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace kyb::helper {
namespace {

namespace fs = std::filesystem;

class ProgressFileTest : public testing::Test {
protected:
    std::string path() const { return root_.progressFile(); }
    std::string victim() const { return root_.at("/victim"); }

    void writeVictim() const { std::ofstream(victim()) << "precious\n"; }

    void expectFresh() const {
        struct stat info {};
        ASSERT_EQ(lstat(path().c_str(), &info), 0);
        EXPECT_TRUE(S_ISREG(info.st_mode));
        EXPECT_EQ(info.st_nlink, 1U);
        EXPECT_EQ(info.st_mode & 0777U, 0644U & ~processMask());
    }

    static mode_t processMask() {
        const mode_t mask = umask(0);
        umask(mask);
        return mask;
    }

    test::RootFolder root_;
};

TEST_F(ProgressFileTest, IsMadeEmptyAndAppendedTo) {
    std::ofstream(path()) << "of an earlier run\n";
    auto file = ProgressFile::create(path());
    ASSERT_TRUE(file);
    expectFresh();
    EXPECT_EQ(test::contentOf(path()), "");
    EXPECT_TRUE(file->append("one\n"));
    EXPECT_TRUE(file->append("two\n"));
    EXPECT_EQ(test::contentOf(path()), "one\ntwo\n");
}

TEST_F(ProgressFileTest, NeverWritesThroughALink) {
    writeVictim();
    fs::create_symlink(victim(), path());
    auto file = ProgressFile::create(path());
    ASSERT_TRUE(file);
    EXPECT_TRUE(file->append("output\n"));
    expectFresh();
    EXPECT_EQ(test::contentOf(victim()), "precious\n");
}

TEST_F(ProgressFileTest, NeverWritesThroughASecondName) {
    writeVictim();
    fs::create_hard_link(victim(), path());
    auto file = ProgressFile::create(path());
    ASSERT_TRUE(file);
    EXPECT_TRUE(file->append("output\n"));
    expectFresh();
    EXPECT_EQ(test::contentOf(victim()), "precious\n");
}

TEST_F(ProgressFileTest, TakesAFifoAway) {
    ASSERT_EQ(mkfifo(path().c_str(), 0666), 0);
    auto file = ProgressFile::create(path());
    ASSERT_TRUE(file);
    expectFresh();
}

TEST_F(ProgressFileTest, TakesAnEmptyFolderAway) {
    fs::create_directory(path());
    auto file = ProgressFile::create(path());
    ASSERT_TRUE(file);
    expectFresh();
}

TEST_F(ProgressFileTest, TakesAnEmptyFolderAwayWhenItIsMadeAnew) {
    auto file = ProgressFile::create(path());
    ASSERT_TRUE(file);
    fs::remove(path());
    fs::create_directory(path());
    EXPECT_TRUE(file->append("later\n"));
    EXPECT_EQ(test::contentOf(path()), "later\n");
}

TEST_F(ProgressFileTest, IsRefusedWhereAFullFolderLies) {
    fs::create_directories(path() + "/full");
    EXPECT_FALSE(ProgressFile::create(path()));
    EXPECT_TRUE(fs::is_directory(path() + "/full"));
}

TEST_F(ProgressFileTest, IsRefusedWithoutItsFolder) {
    fs::remove(fs::path(path()).parent_path());
    EXPECT_FALSE(ProgressFile::create(path()));
}

TEST_F(ProgressFileTest, IsRefusedWhenItsFolderIsALink) {
    const fs::path folder = fs::path(path()).parent_path();
    fs::rename(folder, root_.at("/elsewhere"));
    fs::create_directory_symlink(root_.at("/elsewhere"), folder);
    EXPECT_FALSE(ProgressFile::create(path()));
    EXPECT_TRUE(fs::is_empty(root_.at("/elsewhere")));
}

TEST_F(ProgressFileTest, MayLieBelowALinkFurtherUp) {
    fs::rename(root_.at("/var"), root_.at("/private"));
    fs::create_directory_symlink(root_.at("/private"), root_.at("/var"));
    EXPECT_TRUE(ProgressFile::create(path()));
}

TEST_F(ProgressFileTest, IsMadeAnewWhenItWasRemoved) {
    auto file = ProgressFile::create(path());
    ASSERT_TRUE(file);
    fs::remove(path());
    EXPECT_FALSE(file->isInPlace());
    EXPECT_TRUE(file->append("later\n"));
    EXPECT_TRUE(file->isInPlace());
    EXPECT_EQ(test::contentOf(path()), "later\n");
}

TEST_F(ProgressFileTest, IsMadeAnewWhenItWasCutShort) {
    auto file = ProgressFile::create(path());
    ASSERT_TRUE(file);
    EXPECT_TRUE(file->append("one\ntwo\n"));
    fs::resize_file(path(), 4);
    EXPECT_FALSE(file->isInPlace());
    EXPECT_TRUE(file->append("later\n"));
    EXPECT_TRUE(file->isInPlace());
    EXPECT_EQ(test::contentOf(path()), "later\n");
}

TEST_F(ProgressFileTest, IsMadeAnewWhenItsEndWasWrittenOver) {
    std::optional<ProgressFile> file = ProgressFile::create(path());
    ASSERT_TRUE(file->append("one\n"));
    ASSERT_TRUE(file->append(std::string(5000, 'x') + "\ntwo\nthree\n"));
    EXPECT_TRUE(file->isInPlace());
    std::fstream(path(), std::ios::in | std::ios::out).seekp(-10, std::ios::end) << "TWO";
    EXPECT_FALSE(file->isInPlace());
    ASSERT_TRUE(file->append("four\n", "all\n"));
    EXPECT_EQ(test::contentOf(path()), "all\n");
}

TEST_F(ProgressFileTest, IsMadeAnewWhenALinkTookItsPlace) {
    auto file = ProgressFile::create(path());
    ASSERT_TRUE(file);
    writeVictim();
    fs::remove(path());
    fs::create_symlink(victim(), path());
    EXPECT_TRUE(file->append("later\n"));
    expectFresh();
    EXPECT_EQ(test::contentOf(path()), "later\n");
    EXPECT_EQ(test::contentOf(victim()), "precious\n");
}

TEST_F(ProgressFileTest, NeverWritesThroughALinkThatIsPlantedMeanwhile) {
    writeVictim();
    std::atomic<bool> isOver{false};
    std::thread planter([&] {
        while (!isOver) {
            unlink(path().c_str());
            [[maybe_unused]] const int ignored = symlink(victim().c_str(), path().c_str());
        }
    });
    for (int i = 0; i < 3000; ++i) {
        if (auto file = ProgressFile::create(path())) {
            file->append("output\n");
        }
    }
    isOver = true;
    planter.join();
    EXPECT_EQ(test::contentOf(victim()), "precious\n");
}

TEST_F(ProgressFileTest, TellsWhenItCannotBeMadeAnew) {
    auto file = ProgressFile::create(path());
    ASSERT_TRUE(file);
    fs::remove(path());
    fs::create_directories(path() + "/full");
    EXPECT_FALSE(file->append("later\n"));
}

} // namespace
} // namespace kyb::helper
