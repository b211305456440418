#include "ControllerTest.h"
#include "base/notification_center.h"

namespace {

class Startup : public ControllerTest {};

TEST_F(Startup, SetsTheFirstStateOfTheControlsInOrder) {
    connectScreens();
    controller->awakeFromNib();
    const QStringList expected{
        QStringLiteral("checkBoxButton enabled no"),        QStringLiteral("closeButton enabled no"),
        QStringLiteral("closeButton transparent yes"),      QStringLiteral("backButton enabled no"),
        QStringLiteral("backButton transparent yes"),       QStringLiteral("termsAndConditionsViewBox border clear"),
        QStringLiteral("multipleActionsButton enabled no"),
    };
    EXPECT_EQ(screens.journal.sliced(screens.journal.indexOf(expected.first()), expected.size()), expected);
    EXPECT_EQ(screens.journal.last(), QStringLiteral("parentWindow front"));
}

TEST_F(Startup, OpensTheLogBeforeTheTextsAndReadsTheCatalogAfterTheControls) {
    connectScreens();
    controller->awakeFromNib();
    const auto title = screens.journal.indexOf(QStringLiteral("titleWindow text \"titleWindow\""));
    const auto control = screens.journal.indexOf(QStringLiteral("checkBoxButton enabled no"));
    const auto missing = screens.journal.indexOf(QStringLiteral("packageNameLabel text \"MissingPackage\""));
    EXPECT_TRUE(0 <= title && title < control && control < missing);
    EXPECT_TRUE(wrapperLogLines().at(1).startsWith(QStringLiteral("Initiated Brelund Quorlix Driver")));
}

TEST_F(Startup, SilentModeSaysSoInTheLogAndBecomesAnAccessory) {
    isSilentInstall = true;
    controller->awakeFromNib();
    EXPECT_TRUE(wrapperLogLines().last().endsWith(QStringLiteral(" : Silent Installation!!!")));
    EXPECT_EQ(machine.journal().last(), QStringLiteral("accessory"));
}

TEST_F(Startup, SilentModeBringsNoWindowToTheFront) {
    isSilentInstall = true;
    connectScreens();
    controller->awakeFromNib();
    EXPECT_FALSE(screens.journal.contains(QStringLiteral("parentWindow front")));
}

TEST_F(Startup, ADropShowsThePublicOrPrivateScreen) {
    connectScreens();
    controller->awakeFromNib();
    kyb::postNotification(PerformDragOperationNotification);
    EXPECT_EQ(screen("publicOrPrivateView").superview, &screen("installationBox"));
}

TEST_F(Startup, TermsNotAcceptedDrawsTheBorder) {
    connectScreens();
    controller->awakeFromNib();
    screen("checkBoxButton").enabled = true;
    kyb::postNotification(TermsNotAcceptedNotification);
    EXPECT_EQ(screen("termsAndConditionsViewBox").borderColor, kyb::Color::Red);
}

TEST_F(Startup, UninstallFinishedWouldStartTheInstallation) {
    isSilentInstall = true;
    controller->awakeFromNib();
    EXPECT_FALSE(controller->selectedApp->isSelectedForInstall); // no package: nothing but the end of the run follows
    EXPECT_EQ(runApplication([] { kyb::postNotification(UninstallFinishedNotification); }), 0);
}

TEST_F(Startup, AControllerThatIsGoneObservesNothing) {
    connectScreens();
    controller->awakeFromNib();
    controller = std::make_unique<KYViewController>();
    screens.journal.clear();
    kyb::postNotification(PerformDragOperationNotification);
    EXPECT_TRUE(screens.journal.isEmpty());
}

TEST_F(Startup, EveryOutletMayBeMissing) {
    putPackage();
    controller->awakeFromNib();
    settle();
    EXPECT_TRUE(isInitializationComplete);
}

} // namespace
