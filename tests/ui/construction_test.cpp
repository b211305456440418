#include "ControllerTest.h"

#include <gmock/gmock.h>

namespace {

class Construction : public ControllerTest {
protected:
    void SetUp() override { connectScreens(); }
};

TEST_F(Construction, MakesTheTwentySevenAssignmentsInOrder) {
    controller->initializeNIB();
    EXPECT_EQ(screens.journal, (QStringList{
                                   QStringLiteral("aboutMenuItem text \"AboutWrapper\""),
                                   QStringLiteral("installerLog text \"InstallerLog\""),
                                   QStringLiteral("hideMenuItem text \"HideWrapper\""),
                                   QStringLiteral("hideOthers text \"HideOthers\""),
                                   QStringLiteral("showAll text \"ShowAll\""),
                                   QStringLiteral("quitMenuItem text \"QuitWrapper\""),
                                   QStringLiteral("agreeTermsOfKYB text \"IAgreeTermsOfKYB\""),
                                   QStringLiteral("titleDragandDropMessage text \"TitleMessage\""),
                                   QStringLiteral("initializingInstaller text \"Intializing\""),
                                   QStringLiteral("termsOfServiceButton text \"TermsOfService\""),
                                   QStringLiteral("termsOfServiceButton fit"),
                                   QStringLiteral("cancelButton text \"Cancel\""),
                                   QStringLiteral("closeButton text \"Close\""),
                                   QStringLiteral("nextButton text \"Next\""),
                                   QStringLiteral("backButton text \"Back\""),
                                   QStringLiteral("quit_App_WarningSheet_installerBusyMessage text \"InstallerBusy\""),
                                   QStringLiteral("quit_App_WarningSheet_windowClosedMessage text \"WindowClosed\""),
                                   QStringLiteral("quit_App_WarningSheet_OK text \"OK\""),
                                   QStringLiteral("appsBusyWarningSheet_warning text \"Warning\""),
                                   QStringLiteral("appsBusyWarningSheet_closeApplications text \"CloseApplications\""),
                                   QStringLiteral("appsBusyWarningSheet_CancelButton text \"Cancel\""),
                                   QStringLiteral("appsBusyWarningSheet_ContinueButton text \"Continue\""),
                                   QStringLiteral("licenseAgrement text \"License\""),
                                   QStringLiteral("appRunning_ContinueButton text \"Continue\""),
                                   QStringLiteral("publicMessage text \"PublicComputer\""),
                                   QStringLiteral("privateMessage text \"PrivateComputer\""),
                                   QStringLiteral("saveComputerSettingsMessage text \"SaveComputerSettings\""),
                                   QStringLiteral("titleWindow text \"titleWindow\""),
                               }));
}

TEST_F(Construction, AKeyWithoutEntryShowsItselfOnBothItsControls) {
    putTexts("\"Close\" = \"Done\";");
    controller->initializeNIB();
    EXPECT_EQ(screen("cancelButton").currentText, QStringLiteral("Cancel"));
    EXPECT_EQ(screen("appsBusyWarningSheet_CancelButton").currentText, QStringLiteral("Cancel"));
    EXPECT_EQ(screen("closeButton").currentText, QStringLiteral("Done"));
}

TEST_F(Construction, ADoubledPercentSignShowsOne) {
    putTexts("\"TitleMessage\" = \"100%% done\";");
    controller->initializeNIB();
    EXPECT_EQ(screen("titleDragandDropMessage").currentText, QStringLiteral("100% done"));
}

TEST_F(Construction, OnlyTheTermsButtonIsFitted) {
    controller->initializeNIB();
    EXPECT_EQ(screens.journal.filter(QStringLiteral(" fit")), QStringList{QStringLiteral("termsOfServiceButton fit")});
}

TEST_F(Construction, AMissingOutletIsSkipped) {
    screens.missing << QStringLiteral("cancelButton");
    connectScreens();
    controller->initializeNIB();
    EXPECT_EQ(screens.journal.size(), 27);
    EXPECT_EQ(screen("titleWindow").currentText, QStringLiteral("titleWindow"));
    EXPECT_EQ(machine.systemLog(), QStringList{QStringLiteral("The screens lack \"cancelButton\".")});
}

TEST_F(Construction, ABrokenLineOfTheTableIsReportedWithItsNumber) {
    putTexts("\"Close\" = \"Done\";\n\"Cancel\" = broken broken;\n\"Next\" = \"On\";\n");
    controller->initializeNIB();
    EXPECT_EQ(screen("nextButton").currentText, QStringLiteral("On"));
    EXPECT_EQ(machine.systemLog().filter(QStringLiteral("Localizable.strings:2: ")).size(), 1);
}

TEST_F(Construction, TheBestLanguageThatIsThereIsUsed) {
    putTexts("\"Close\" = \"Done\";");
    machine.write(QStringLiteral("/Installer Folder/Brelund Quorlix Installer.app/Contents/Resources/de.lproj/"
                                 "Localizable.strings"),
                  "\"Close\" = \"Fertig\";");
    machine.languages = QStringList{QStringLiteral("fr"), QStringLiteral("de"), QStringLiteral("en")};
    controller->initializeNIB();
    EXPECT_EQ(screen("closeButton").currentText, QStringLiteral("Fertig"));
}

} // namespace
