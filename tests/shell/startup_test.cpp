#include "ControllerTest.h"
#include "base/notification_center.h"

#include <utility>

namespace {

class Startup : public ControllerTest {};

/// The first lines of a story's events; texts and facts, which have tests of their own, once for all that follow each
/// other.
QStringList shortened(const QStringList &story) {
    QStringList result;
    for (const QString &event : story) {
        const bool isText = event.contains(u" text \"") || event.endsWith(u" fit");
        const bool isFact = event.startsWith(u"log System ") || event.startsWith(u"log Current ");
        const QString shown = isText   ? QStringLiteral("(texts)")
                              : isFact ? QStringLiteral("(facts)")
                                       : event.section(u'\n', 0, 0);
        if (result.isEmpty() || result.constLast() != shown) {
            result << shown;
        }
    }
    return result;
}

const QStringList kFirstStateOfTheControls{
    QStringLiteral("checkBoxButton enabled no"),        QStringLiteral("closeButton enabled no"),
    QStringLiteral("closeButton transparent yes"),      QStringLiteral("backButton enabled no"),
    QStringLiteral("backButton transparent yes"),       QStringLiteral("termsAndConditionsViewBox border clear"),
    QStringLiteral("multipleActionsButton enabled no"),
};

TEST_F(Startup, KeepsItsOrder) {
    connectScreens();
    putPackage();
    machine.onSystemLog = [isFirst = true](const QString &) mutable {
        if (std::exchange(isFirst, false)) { // who posts now is heard already
            kyb::postNotification(TermsNotAcceptedNotification);
        }
    };
    controller->awakeFromNib();
    const QStringList story = shortened(storyOf(0));
    EXPECT_EQ(story, QStringList({QStringLiteral("termsAndConditionsViewBox border red"),
                                  QStringLiteral("log Existing Log file size: 0"), QStringLiteral("log "), // the banner
                                  QStringLiteral("(texts)")}) +
                         kFirstStateOfTheControls +
                         QStringList({QStringLiteral("log MacOS Version: 0.0"), QStringLiteral("(facts)"),
                                      QStringLiteral("(texts)"), // the destination
                                      QStringLiteral("sourceIconView image applicationImage"),
                                      QStringLiteral("arrowImageView image Drag_arrow.png"),
                                      QStringLiteral("warningField font  0"),
                                      QStringLiteral("initializationProgressIndicator animate"),
                                      QStringLiteral("[1] starts"), QStringLiteral("parentWindow front")}));
}

TEST_F(Startup, KeepsItsOrderInSilentModeToo) {
    isSilentInstall = true;
    connectScreens();
    putPackage();
    machine.rightsStatus = -60006; // ends the run when the scan has ended
    controller->awakeFromNib();
    EXPECT_EQ(
        shortened(storyOf(0)),
        QStringList({QStringLiteral("flag isSilentInstall yes"), QStringLiteral("log Existing Log file size: 0"),
                     QStringLiteral("log "), QStringLiteral("(texts)")}) +
            kFirstStateOfTheControls +
            QStringList({QStringLiteral("log MacOS Version: 0.0"), QStringLiteral("(facts)"),
                         QStringLiteral("sourceIconView image applicationImage"),
                         QStringLiteral("arrowImageView image Drag_arrow.png"), QStringLiteral("warningField font  0"),
                         QStringLiteral("initializationProgressIndicator animate"), QStringLiteral("[1] starts"),
                         QStringLiteral("log Silent Installation!!!"), QStringLiteral("accessory")}));
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
