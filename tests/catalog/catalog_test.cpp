#include "ControllerTest.h"

#include <QFile>

namespace {

const QString kReceipt = QStringLiteral("/var/db/receipts/com.Brelund.QuorlixInstaller.plist:PackageVersion");
const QString kSystemVersion = QStringLiteral("/System/Library/CoreServices/SystemVersion.plist:ProductVersion");

class Catalog : public ControllerTest {
protected:
    void scan() {
        controller->initApps();
        settle();
    }
};

TEST_F(Catalog, FindsThePackageAndShowsNameAndVersion) {
    connectScreens();
    putTexts("\"displayName\" = \"Quorlix\";\n\"applicationImage\" = \"Package.png\";");
    putPackage();
    scan();
    EXPECT_EQ(screen("packageNameLabel").currentText, QStringLiteral("Quorlix\n1.2.3"));
    EXPECT_TRUE(screen("warningField").hidden);
    EXPECT_TRUE(screen("checkBoxButton").enabled);
    EXPECT_TRUE(isInitializationComplete);
    EXPECT_TRUE(controller->selectedApp->isSelectedForInstall);
    EXPECT_FALSE(controller->selectedApp->isInstalled);
    EXPECT_EQ(controller->selectedApp->pkgName(), QStringLiteral("/OSX/Brelund Quorlix Driver.pkg"));
}

TEST_F(Catalog, PreparesTheFirstScreenInOrderBeforeTheScan) {
    connectScreens();
    putTexts("\"applicationImage\" = \"Package.png\";");
    putPackage();
    screen("destinationNameLabel").currentFont = {QStringLiteral("Sans"), 11};
    controller->initApps();
    const auto first = screens.journal.indexOf(QStringLiteral("sourceIconView image Package.png"));
    ASSERT_GE(first, 0);
    EXPECT_EQ(screens.journal.sliced(first), (QStringList{
                                                 QStringLiteral("sourceIconView image Package.png"),
                                                 QStringLiteral("arrowImageView image Drag_arrow.png"),
                                                 QStringLiteral("warningField font Sans 11"),
                                                 QStringLiteral("initializationProgressIndicator animate"),
                                             }));
    EXPECT_EQ(sourceIconImage, (kyb::NamedImage{QStringLiteral("Package.png"), QSize(64, 48)}));
    settle();
}

TEST_F(Catalog, TheEndOfTheScanReadiesTheFirstScreenInOrder) {
    connectScreens();
    makeSelectedApp();
    controller->onAppsInitializationComplete();
    const QStringList begin{QStringLiteral("packageNameLabel text \"displayName\n(null)\""),
                            QStringLiteral("initializationProgressIndicator stop animation"),
                            QStringLiteral("initializationProgressIndicator hidden yes")};
    const QStringList end{QStringLiteral("flag isInitializationComplete yes"),
                          QStringLiteral("checkBoxButton enabled yes")};
    const QStringList fresh = begin + QStringList{QStringLiteral("warningField hidden yes")} + end;
    EXPECT_EQ(machine.story(), fresh);

    isInitializationComplete = false;
    controller->selectedApp->isInstalled = true;
    controller->onAppsInitializationComplete();
    EXPECT_EQ(machine.story().sliced(fresh.size()),
              QStringList{QStringLiteral("flag isInitializationComplete no")} + begin +
                  QStringList({QStringLiteral("warningField text \"AppInstalledWarningMessage\""),
                               QStringLiteral("warningImageView image Alert.png")}) +
                  end);
}

TEST_F(Catalog, WithoutAScreenThePictureHasNoSize) {
    putPackage();
    scan();
    EXPECT_EQ(sourceIconImage.size, QSize(0, 0));
}

TEST_F(Catalog, AMissingPackageLeavesTheWizardUnusableAndSaysWhy) {
    connectScreens();
    isTermsAndConditionsAccepted = true;
    controller->initApps();
    settle();
    const auto first = screens.journal.indexOf(QStringLiteral("packageNameLabel text colour red"));
    ASSERT_GE(first, 0);
    EXPECT_EQ(screens.journal.sliced(first), (QStringList{
                                                 QStringLiteral("packageNameLabel text colour red"),
                                                 QStringLiteral("packageNameLabel text \"MissingPackage\""),
                                                 QStringLiteral("sourceIconView image Alert.png"),
                                                 QStringLiteral("warningField hidden yes"),
                                                 QStringLiteral("initializationProgressIndicator stop animation"),
                                                 QStringLiteral("initializationProgressIndicator hidden yes"),
                                             }));
    EXPECT_FALSE(isTermsAndConditionsAccepted);
    EXPECT_FALSE(isInitializationComplete);
    EXPECT_FALSE(controller->selectedApp->isSelectedForInstall);
    EXPECT_FALSE(controller->internalLog().contains(QStringLiteral("ackage")));
}

TEST_F(Catalog, SilentModeWithAMissingPackageKeepsRunning) {
    isSilentInstall = true;
    EXPECT_EQ(runApplication([this] { controller->initApps(); }), std::nullopt);
    EXPECT_TRUE(machine.requests().empty());
    EXPECT_EQ(machine.systemLog().last(),
              QStringLiteral("There is no package at %1.")
                  .arg(machine.path(QStringLiteral("/Installer Folder/OSX/Brelund Quorlix Driver.pkg"))));
    EXPECT_FALSE(controller->internalLog().contains(QStringLiteral("ackage")));
}

TEST_F(Catalog, AMissingVersionListShowsNull) {
    connectScreens();
    machine.write(QStringLiteral("/Installer Folder/OSX/Brelund Quorlix Driver.pkg"), "package");
    scan();
    EXPECT_EQ(screen("packageNameLabel").currentText, QStringLiteral("displayName\n(null)"));
    EXPECT_TRUE(isInitializationComplete);
}

TEST_F(Catalog, AnUnreadableVersionListShowsNull) {
    connectScreens();
    machine.write(QStringLiteral("/Installer Folder/OSX/Brelund Quorlix Driver.pkg"), "package");
    machine.write(QStringLiteral("/Installer Folder/OSX/macver.list/is a folder"), "");
    scan();
    EXPECT_EQ(screen("packageNameLabel").currentText, QStringLiteral("displayName\n(null)"));
}

TEST_F(Catalog, AVersionListOfSixteenMebibytesIsReadAndNoLongerOne) {
    connectScreens();
    putPackage();
    const QByteArray line("\nBrelund Quorlix Driver=1.2.3\n");
    const QByteArray longest = QByteArray((16 << 20) - line.size(), 'x') + line;
    // In this order: a later scan keeps the version that an earlier one has found.
    for (const auto &[list, shown] :
         {std::pair('x' + longest, "displayName\n(null)"), {longest, "displayName\n1.2.3"}}) {
        machine.write(QStringLiteral("/Installer Folder/OSX/macver.list"), list);
        scan();
        EXPECT_EQ(screen("packageNameLabel").currentText.toStdString(), shown);
    }
}

TEST_F(Catalog, AFifoInPlaceOfTheVersionListHoldsNobodyUp) {
    connectScreens();
    machine.write(QStringLiteral("/Installer Folder/OSX/Brelund Quorlix Driver.pkg"), "package");
    const QString list = machine.path(QStringLiteral("/Installer Folder/OSX/macver.list"));
    ASSERT_EQ(mkfifo(QFile::encodeName(list).constData(), 0600), 0);
    scan();
    EXPECT_EQ(screen("packageNameLabel").currentText, QStringLiteral("displayName\n(null)"));
}

TEST_F(Catalog, AReceiptWithAVersionThatIsNoTextCountsAsInstalled) {
    putPackage();
    machine.propertyLists[kReceipt] = QStringLiteral(""); // as the port gives it
    scan();
    EXPECT_TRUE(controller->selectedApp->isInstalled);
}

TEST_F(Catalog, ANewScanKeepsTheVersionThatAnEarlierOneFound) {
    putPackage();
    scan();
    QFile::remove(machine.path(QStringLiteral("/Installer Folder/OSX/macver.list")));
    controller->getAvailableApplicationVersions();
    EXPECT_EQ(controller->m_availablePackageVersion, QStringLiteral("1.2.3"));
}

TEST_F(Catalog, AnInstalledVersionIsWarnedOfWithNameAndVersion) {
    connectScreens();
    putTexts("\"displayName\" = \"Quorlix\";\n\"AppInstalledWarningMessage\" = \"%@ %@ is here\";");
    putPackage();
    machine.propertyLists[kReceipt] = QStringLiteral("1.0");
    scan();
    EXPECT_TRUE(controller->selectedApp->isInstalled);
    EXPECT_EQ(controller->selectedApp->installedVersion(), QStringLiteral("1.0"));
    EXPECT_EQ(screen("warningField").currentText, QStringLiteral("Quorlix 1.0 is here"));
    EXPECT_FALSE(screen("warningField").hidden);
    EXPECT_EQ(screen("warningImageView").image.name, QStringLiteral("Alert.png"));
}

TEST_F(Catalog, TheSameVersionIsWarnedOfAsWell) {
    connectScreens();
    putPackage();
    machine.propertyLists[kReceipt] = QStringLiteral("1.2.3");
    scan();
    EXPECT_TRUE(controller->selectedApp->isInstalled);
    EXPECT_TRUE(screen("checkBoxButton").enabled);
}

TEST_F(Catalog, AReceiptWithoutTheKeyCountsAsNotInstalled) {
    putPackage();
    scan();
    EXPECT_FALSE(controller->selectedApp->isInstalled);
    EXPECT_EQ(controller->selectedApp->installedVersion(), QString());
}

TEST_F(Catalog, SilentModeStartsTheInstallationAndCompletesNoScreen) {
    isSilentInstall = true;
    connectScreens();
    putPackage();
    machine.rightsStatus = -60006; // ends proceedWithInstallation at its second step
    scan();
    EXPECT_TRUE(machine.systemLog().contains(QStringLiteral("Silent installation: Will start installation")));
    EXPECT_FALSE(controller->internalLog().contains(QStringLiteral("Will start installation\n")));
    EXPECT_EQ(machine.requests().size(), 1U);
    EXPECT_FALSE(isInitializationComplete);
    EXPECT_FALSE(screens.journal.contains(QStringLiteral("initializationProgressIndicator stop animation")));
}

TEST_F(Catalog, LogsFourFactsOfTheSystem) {
    machine.propertyLists[kSystemVersion] = QStringLiteral("10.15.7");
    curUserName = QStringLiteral("bob");
    controller->getSystemVersionDetails();
    EXPECT_EQ(controller->osVersionMajor, 10);
    EXPECT_EQ(controller->osVersionMinor, 15);
    EXPECT_EQ(controller->internalLog(), QStringLiteral("MacOS Version: 10.15\n"
                                                        "Current Logged in User: bob\n"
                                                        "System Language: en_US\n"
                                                        "System Locale Identifier: Name of en_US\n"));
}

TEST_F(Catalog, AVersionOfOneNumberHasNoMinor) {
    machine.propertyLists[kSystemVersion] = QStringLiteral("14");
    controller->getSystemVersionDetails();
    EXPECT_TRUE(controller->internalLog().startsWith(QStringLiteral("MacOS Version: 14.0\n")));
}

TEST_F(Catalog, AMissingSystemVersionReadsAsZero) {
    controller->getSystemVersionDetails();
    EXPECT_TRUE(controller->internalLog().startsWith(QStringLiteral("MacOS Version: 0.0\n")));
}

TEST_F(Catalog, TheDestinationShowsNameAndDecimalGigabytes) {
    connectScreens();
    struct Row {
        std::optional<double> freeBytes;
        const char *shown;
    };
    for (const Row &row : {Row{499'999'999'999.0, "500.00"}, Row{1'073'741'824.0, "1.07"}, Row{{}, "0.00"}}) {
        machine.freeBytes = row.freeBytes;
        controller->setDestinationDiskDetails();
        EXPECT_EQ(screen("destinationNameLabel").currentText,
                  QStringLiteral("Fake HD\n(AvailableSpace: %1 GB)").arg(QString::fromLatin1(row.shown)));
    }
}

TEST_F(Catalog, SilentModeLogsTheFactsButFillsNoDestination) {
    isSilentInstall = true;
    connectScreens();
    scan();
    EXPECT_EQ(screen("destinationNameLabel").currentText, QString());
    EXPECT_EQ(controller->internalLog().count(u'\n'), 4);
}

TEST_F(Catalog, TheRecordsStringsMayBeReadWhileTheyAreReplaced) {
    KYRavexApp app;
    app.setInstalledVersion(QStringLiteral("1.0"));
    kyb::inBackground([&app] {
        for (int i = 0; i < 2000; ++i) {
            app.setInstalledVersion(i % 2 == 0 ? QStringLiteral("1.0") : QStringLiteral("22.0.1"));
        }
    });
    for (int i = 0; i < 2000; ++i) {
        const QString version = app.installedVersion();
        ASSERT_TRUE(version == QStringLiteral("1.0") || version == QStringLiteral("22.0.1"));
    }
    settle();
}

} // namespace
