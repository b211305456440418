#include "install/command_lines.h"

#include <gtest/gtest.h>

namespace {

TEST(CommandLines, ListsAFolder) {
    EXPECT_EQ(kyb::listCommand(QStringLiteral("/Applications/")), QStringLiteral("ls /Applications/"));
}

TEST(CommandLines, InstallsAPackageOnTheStartUpVolume) {
    EXPECT_EQ(kyb::installCommand(QStringLiteral("/usr/sbin/installer"), QStringLiteral("/My Disk/ü/a.pkg")),
              QStringLiteral("/usr/sbin/installer -pkg \"/My Disk/ü/a.pkg\" -target / -verboseR"));
}

TEST(CommandLines, EscapesNothingInAPath) {
    EXPECT_EQ(kyb::installCommand(QStringLiteral("i"), QStringLiteral("/a\"b%1$c")),
              QStringLiteral("i -pkg \"/a\"b%1$c\" -target / -verboseR"));
}

TEST(CommandLines, SetsThePreferenceWithNestedQuotes) {
    const QString file = QStringLiteral("/Library/Preferences/BrelundQuorlixAdmin.plist");
    EXPECT_EQ(kyb::preferenceCommand(QStringLiteral("/usr/libexec/PlistBuddy"), kyb::Computer::Private, file),
              QStringLiteral("/usr/libexec/PlistBuddy -c \"Set :IsPrivateInstall \"YES\"\" "
                             "\"/Library/Preferences/BrelundQuorlixAdmin.plist\""));
    EXPECT_EQ(kyb::preferenceCommand(QStringLiteral("/usr/libexec/PlistBuddy"), kyb::Computer::Public, file),
              QStringLiteral("/usr/libexec/PlistBuddy -c \"Set :IsPrivateInstall \"NO\"\" "
                             "\"/Library/Preferences/BrelundQuorlixAdmin.plist\""));
}

TEST(CommandLines, PrintsTheLastLines) {
    EXPECT_EQ(kyb::tailCommand(2, QStringLiteral("/f")), QStringLiteral("tail -2 \"/f\""));
}

} // namespace
