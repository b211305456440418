// What a person sees on a Mac that is played when the system, or the helper, refuses.

#include "Walk.h"

#include "base/KYGlobalConstants.h"
#include "box.h"

#include <gmock/gmock.h>

namespace {

class MacWalk : public Walk {
protected:
    /// From the terms to the choice, whose forward button says "Install".
    static void goToTheChoice(User &user) {
        acceptTerms(user);
        user.click(kForward);
        user.waitForVisible(kChoice);
    }

    static void readResult(User &user, const char *key) {
        user.waitForVisible(kResult);
        EXPECT_EQ(user.text(QStringLiteral("installationResultLabel")), textOf(key));
        user.click(kClose);
    }

    std::ptrdiff_t countLogged(const char *beginning) const {
        const std::vector<std::string> entries = root.logEntries();
        return std::ranges::count_if(entries, [&](const std::string &entry) { return entry.starts_with(beginning); });
    }

    bool hasLogged(const char *entry) const {
        const std::vector<std::string> entries = root.logEntries();
        return std::find(entries.begin(), entries.end(), entry) != entries.end();
    }
};

TEST_F(MacWalk, ARefusedProgramShowsThatItFailed) {
    root.registerHelper(KYB_BUNDLE "/Contents/Library/LaunchServices/com.kyb.InstallerHelperTool");
    macbox::set("code", "old");
    walk([](User &user) {
        goToTheChoice(user);
        user.click(kForward);
        readResult(user, "InstallFailed");
    });
    EXPECT_TRUE(hasLogged("XPC connection interupted."));
    EXPECT_EQ(root.installedVersion(), "");
}

TEST_F(MacWalk, WhoCancelsStaysWhereHeIsAndMayPressInstallAgain) {
    macbox::set("user", "cancels");
    walk([this](User &user) {
        goToTheChoice(user);
        user.click(kForward);
        user.waitFor([this] { return hasLogged("Failed to install the Helper Tool. Error: (null)"); }, "the refusal");
        EXPECT_TRUE(user.isVisible(kChoice));
        EXPECT_FALSE(installationInProgress);
        macbox::set("user", "grants");
        user.click(kForward);
        readResult(user, "InstallSuccessful");
    });
    EXPECT_TRUE(hasLogged("Failed to create AuthorizationRef. Error code: -60006"));
    EXPECT_EQ(root.installedVersion(), "4.2.0");
}

TEST_F(MacWalk, TheAnswersToProbeAndInstallationAreInTheLog) {
    root.registerHelper(KYB_BUNDLE "/Contents/Library/LaunchServices/com.kyb.InstallerHelperTool");
    walk([this](User &user) {
        goToTheChoice(user);
        user.click(kForward);
        user.waitForVisible(kResult);
        user.waitFor([this] { return countLogged("Received response: ") == 2; }, "the answers");
        user.click(kClose);
    });
    EXPECT_FALSE(hasLogged("Received response: (null)."));
}

TEST_F(MacWalk, TheEndOfAnAnsweredConnectionIsNoFailure) {
    macbox::set("last release", "invalid");
    walk([](User &user) {
        goToTheChoice(user);
        user.click(kForward);
        readResult(user, "InstallSuccessful");
    });
}

} // namespace
