#include "base/KYGlobalConstants.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

/// The variables as the process has them before any test.
struct Initial {
    QString userName = curUserName;
    bool isPrivate = isPrivateComputerAccepted;
    bool installs = installationInProgress;
    bool uninstalls = uninstallationInProgress;
    bool areTermsAccepted = isTermsAndConditionsAccepted;
    bool isInitialized = isInitializationComplete;
    bool isSilent = isSilentInstall;
    bool isUninstalled = isUninstallationDone;
    bool hasFailed = installFailed;
    kyb::NamedImage source = sourceIconImage;
    kyb::NamedImage background = backgroundImage;
};
const Initial kInitial;

TEST(GlobalConstants, TheComputerIsPrivateAndNothingElseIsSoAtFirst) {
    EXPECT_EQ(kInitial.userName, QString());
    EXPECT_TRUE(kInitial.isPrivate);
    EXPECT_FALSE(kInitial.installs);
    EXPECT_FALSE(kInitial.uninstalls);
    EXPECT_FALSE(kInitial.areTermsAccepted);
    EXPECT_FALSE(kInitial.isInitialized);
    EXPECT_FALSE(kInitial.isSilent);
    EXPECT_FALSE(kInitial.isUninstalled);
    EXPECT_FALSE(kInitial.hasFailed);
    EXPECT_EQ(kInitial.source, kyb::NamedImage());
    EXPECT_EQ(kInitial.background, kyb::NamedImage());
}

TEST(GlobalConstants, AreKnownToOthersByTheirText) {
    const std::vector<std::string> texts{kPrivateDragObject,
                                         PerformDragOperationNotification,
                                         UpdateProgressBarNotification,
                                         UninstallFinishedNotification,
                                         TermsNotAcceptedNotification,
                                         installProgressLog};
    EXPECT_EQ(texts, (std::vector<std::string>{
                         "com.kyb.sourceIconObject", "com.kyb.PerformDragOperationNotification",
                         "com.kyb.UpdateProgressBarNotification", "com.kyb.UninstallFinishedNotification",
                         "com.kyb.TermsNotAcceptedNotification", "/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log"}));
}

} // namespace
