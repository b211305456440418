#include "shell/command_line.h"

#include "FakeMachine.h"
#include "base/KYGlobalConstants.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

struct Row {
    const char *shows;
    std::vector<const char *> arguments; ///< without the program's name
    bool silent;
    const char *user;
    bool isPrivate;
};

class CommandLine : public ::testing::TestWithParam<Row> {};

TEST_P(CommandLine, SetsTheFlags) {
    FakeMachine::instance().reset();
    isSilentInstall = false;
    isPrivateComputerAccepted = true;
    std::vector<const char *> arguments = GetParam().arguments;
    arguments.insert(arguments.begin(), "BrelundQuorlixInstaller");
    const int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);

    kyb::readCommandLine(count, arguments.data());

    EXPECT_EQ(isSilentInstall, GetParam().silent);
    EXPECT_EQ(curUserName, QString::fromUtf8(GetParam().user));
    EXPECT_EQ(isPrivateComputerAccepted, GetParam().isPrivate);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CommandLine,
    ::testing::Values(Row{"NoArgumentsIsInteractive", {}, false, "desk", true},
                      Row{"DashSAloneIsInteractive", {"-s"}, false, "desk", true},
                      Row{"UserAloneIsPrivate", {"-s", "bob"}, true, "bob", true},
                      Row{"PublicIsPublic", {"-s", "bob", "PUBLIC"}, true, "bob", false},
                      Row{"CaseDoesNotMatter", {"-S", "bob", "public"}, true, "bob", false},
                      Row{"MixedCaseDoesNotMatter", {"-s", "bob", "Public"}, true, "bob", false},
                      Row{"AnotherThirdWordIsPrivate", {"-s", "bob", "PRIVATE"}, true, "bob", true},
                      Row{"ALongerThirdWordIsPrivate", {"-s", "bob", "PUBLICLY"}, true, "bob", true},
                      Row{"OnlyTheFirstArgumentIsTested", {"x", "-s", "bob"}, false, "desk", true},
                      Row{"UserIsTakenAsItStands",
                          {"-s",
                           " B\xc3\xb6"
                           "b ",
                           "PUBLIC"},
                          true,
                          " B\xc3\xb6"
                          "b ",
                          false},
                      Row{"FourthArgumentIsIgnored", {"-s", "bob", "no", "PUBLIC"}, true, "bob", true}),
    [](const auto &row) { return row.param.shows; });

} // namespace
