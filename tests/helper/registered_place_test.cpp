#include "linux/registered_place.h"

#include "support/RootFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace kyb::helper {
namespace {

namespace fs = std::filesystem;

/// A program at the registered place, and a link to it in place of the one that the kernel keeps of each process.
class RegisteredPlace : public testing::Test {
protected:
    RegisteredPlace() {
        root_.write("/Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool", "a program");
        fs::create_symlink(root_.helperFile(), link_);
    }

    /// Puts \p path elsewhere, and a link to it in its place.
    void putBehindALink(const std::string &path) const {
        fs::rename(path, root_.beside("moved"));
        fs::create_symlink(root_.beside("moved"), path);
    }

    const test::RootFolder root_;
    const std::string link_ = root_.beside("program");
};

TEST_F(RegisteredPlace, HasItsRoot) {
    const UniqueFd root = openRootOf(link_);
    struct stat held {};
    struct stat wanted {};
    ASSERT_EQ(fstat(root.get(), &held), 0);
    ASSERT_EQ(stat(root_.path().c_str(), &wanted), 0);
    EXPECT_EQ(held.st_ino, wanted.st_ino);
}

TEST_F(RegisteredPlace, IsNotBehindALink) {
    for (const std::string &path :
         {root_.at("/Library"), root_.at("/Library/PrivilegedHelperTools"), root_.helperFile()}) {
        putBehindALink(path);
        EXPECT_FALSE(openRootOf(link_)) << path;
        fs::remove(path);
        fs::rename(root_.beside("moved"), path);
        EXPECT_TRUE(openRootOf(link_)) << path;
    }
}

TEST_F(RegisteredPlace, IsNotWhereNothingLies) {
    fs::remove(root_.helperFile());
    EXPECT_FALSE(openRootOf(link_));
    EXPECT_FALSE(openRootOf(root_.beside("no link")));
}

TEST_F(RegisteredPlace, IsNotAnotherOne) {
    const std::string other = root_.at("/Library/PrivilegedHelperTools/other");
    test::writeText(other, "a program");
    fs::remove(link_);
    fs::create_symlink(other, link_);
    EXPECT_FALSE(openRootOf(link_));
}

} // namespace
} // namespace kyb::helper
