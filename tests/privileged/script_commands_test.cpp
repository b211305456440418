#include "privileged/script_commands.h"

#include <gtest/gtest.h>

namespace {

TEST(ScriptCommands, RunsAScriptWithTheShellAlwaysWrapped) {
    EXPECT_EQ(kyb::scriptCommand(QStringLiteral("/a b.sh")), QStringLiteral("/bin/sh \"/a b.sh\""));
    EXPECT_EQ(kyb::scriptCommand(QStringLiteral("\"/a b.sh\"")), QStringLiteral("/bin/sh \"\"/a b.sh\"\""));
}

TEST(ScriptCommands, WrapsAScriptUnlessItBeginsWithAQuote) {
    EXPECT_EQ(kyb::quotedScript(QStringLiteral("/a b.sh")), QStringLiteral("\"/a b.sh\""));
    EXPECT_EQ(kyb::quotedScript(QStringLiteral("'/a b.sh' x")), QStringLiteral("'/a b.sh' x"));
    EXPECT_EQ(kyb::quotedScript(QStringLiteral("\"/a b.sh\" x")), QStringLiteral("\"/a b.sh\" x"));
    EXPECT_EQ(kyb::quotedScript(QStringLiteral("/a\"b.sh")), QStringLiteral("\"/a\"b.sh\""));
}

} // namespace
