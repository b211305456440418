#include "FakeMachine.h"
#include "WizardTest.h"
#include "text/string_table.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QLineEdit>
#include <QSet>
#include <QTemporaryDir>

namespace {

constexpr const char *kOutlets[] = {
    "parentWindow",
    "titleWindow",
    "installationBox",
    "installationView",
    "licenseView",
    "publicOrPrivateView",
    "installationProgressView",
    "installationResultView",
    "lockView",
    "sourceIconView",
    "arrowImageView",
    "packageNameLabel",
    "destinationNameLabel",
    "warningField",
    "warningImageView",
    "warningScrollView",
    "initializationProgressIndicator",
    "titleDragandDropMessage",
    "topInfoLabel",
    "tooltipView",
    "licenseTextView",
    "termsAndConditionsView",
    "termsAndConditionsViewBox",
    "checkBoxButton",
    "termsOfServiceButton",
    "licenseAgrement",
    "agreeTermsOfKYB",
    "publicCheckBoxButton",
    "privateCheckBoxButton",
    "publicMessage",
    "privateMessage",
    "saveComputerSettingsMessage",
    "installProgressIndicator",
    "progressInfoLabel",
    "installProgressViewBoldLabel",
    "installationInProgressImageView",
    "initializingInstaller",
    "installerBusyWarningLabel",
    "lockViewLabel",
    "installationResultLabel",
    "installationSubResultLabel",
    "installationResultImageView",
    "nextButton",
    "backButton",
    "closeButton",
    "cancelButton",
    "multipleActionsButton",
    "warningSheetWindow",
    "warningSheetTextView",
    "warningSheetImageView",
    "warningSheetOKButton",
    "warningSheetCancelButton",
    "appsBusyWarningSheetWindow",
    "appsBusyWarningSheet_warning",
    "appsBusyWarningSheet_closeApplications",
    "appsBusyWarningSheet_CancelButton",
    "appsBusyWarningSheet_ContinueButton",
    "appRunning_ContinueButton",
    "quitAppWarningSheet",
    "quit_App_WarningSheet_installerBusyMessage",
    "quit_App_WarningSheet_windowClosedMessage",
    "quit_App_WarningSheet_OK",
    "showLogMenuItem",
    "aboutMenuItem",
    "installerLog",
    "hideMenuItem",
    "hideOthers",
    "showAll",
    "quitMenuItem",
    "logWindow",
    "logTextView",
    "logToolBar",
    "searchItem",
    "saveButtonItem",
};

constexpr const char *kFiles[] = {
    "MainWindow.ui",          "InstallationView.ui",         "LicenseView.ui",  "LogWindow.ui",
    "PublicOrPrivateView.ui", "InstallationProgressView.ui", "WarningSheet.ui", "InstallationResultView.ui",
    "QuitAppWarningSheet.ui", "AppsBusyWarningSheet.ui",
};

/// A copy of the interface descriptions in which a test can break something.
class BrokenInterface : public ::testing::TestWithParam<const char *> {
protected:
    BrokenInterface() {
        FakeMachine::instance().reset();
        for (const char *file : kFiles) {
            EXPECT_TRUE(QFile::copy(interfaceFolder() + u'/' + QLatin1String(file), path(file)));
        }
    }
    QString path(const char *file) const { return folder_.filePath(QLatin1String(file)); }
    void write(const char *file, const QByteArray &content) {
        QFile out(path(file));
        ASSERT_TRUE(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
        out.write(content);
    }
    QByteArray read(const char *file) {
        QFile in(path(file));
        EXPECT_TRUE(in.open(QIODevice::ReadOnly));
        return in.readAll();
    }
    QString load() { return wizard_.load(folder_.path(), delegate_); }

    int argc_ = 1;
    char name_[5] = "test";
    char *argv_[2] = {name_, nullptr};
    kyb::Wizard wizard_{argc_, argv_};
    KYViewController controller_;
    KYAppDelegate delegate_{controller_};
    QTemporaryDir folder_;
};

TEST_F(WizardTest, LoadsWithoutAProblem) {
    EXPECT_EQ(problem.toStdString(), "");
}

TEST_F(WizardTest, HasEveryOutlet) {
    for (const char *name : kOutlets) {
        EXPECT_NE(wizard->control(QString::fromLatin1(name)), nullptr) << name;
    }
}

TEST_F(WizardTest, HasNoControlOfAnUnknownName) {
    EXPECT_EQ(wizard->control(QStringLiteral("noSuchControl")), nullptr);
}

TEST_F(WizardTest, GivesTheSameControlEachTime) {
    EXPECT_EQ(&control("closeButton"), &control("closeButton"));
}

TEST_F(WizardTest, TheTitleWindowIsTheMainWindow) {
    control("titleWindow").setText(QStringLiteral("A & B"));
    EXPECT_EQ(wizard->window()->windowTitle().toStdString(), "A & B");
}

TEST_F(WizardTest, StartsWithTheDragScreenAlone) {
    EXPECT_TRUE(control("installationView").isVisible());
    for (const char *away :
         {"licenseView", "publicOrPrivateView", "installationProgressView", "installationResultView", "lockView"}) {
        EXPECT_FALSE(control(away).isVisible()) << away;
    }
}

TEST_F(WizardTest, HidesWhatHasNoRole) {
    for (const char *idle : {"nextButton", "topInfoLabel", "tooltipView", "appRunning_ContinueButton", "hideOthers"}) {
        EXPECT_FALSE(control(idle).isVisible()) << idle;
    }
}

TEST_F(WizardTest, KnowsTheFramesOfItsPicturesBeforeAnythingIsShown) {
    EXPECT_EQ(control("sourceIconView").frameSize(), QSize(128, 128));
    EXPECT_EQ(control("installationResultImageView").frameSize(), QSize(64, 64));
}

TEST_F(WizardTest, TheComputerIsPrivateAtFirst) {
    EXPECT_EQ(control("privateCheckBoxButton").state(), 1);
    EXPECT_EQ(control("publicCheckBoxButton").state(), 0);
}

TEST_F(WizardTest, TheControllerFindsAllItsOutlets) {
    controller.connectOutlets(*wizard);
    EXPECT_TRUE(controller.parentWindow.isConnected());
    EXPECT_TRUE(controller.saveButtonItem.isConnected());
    EXPECT_TRUE(controller.warningSheetOKButton.isConnected());
}

TEST_F(WizardTest, EveryControlThatTakesTheFocusHasAnAccessibleName) {
    control("agreeTermsOfKYB").setText(QStringLiteral("I agree"));
    control("publicMessage").setText(QStringLiteral("Public"));
    control("privateMessage").setText(QStringLiteral("Private"));
    for (QWidget *widget : QApplication::allWidgets()) {
        const bool takesFocus = (widget->focusPolicy() & Qt::TabFocus) != 0 && !widget->objectName().startsWith(u"qt_");
        if (!takesFocus || widget->isWindow()) {
            continue;
        }
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(widget);
        ASSERT_NE(accessible, nullptr);
        EXPECT_NE(accessible->text(QAccessible::Name).toStdString(), "") << widget->objectName().toStdString();
    }
}

TEST_F(BrokenInterface, TextsThatTheProgramNeverSetsAreLookedUp) {
    FakeMachine &machine = FakeMachine::instance();
    machine.write(QStringLiteral("/Installer Folder/Brelund Quorlix Installer.app/Contents/Resources/en.lproj/"
                                 "Interface.strings"),
                  "\"Show Installation Log\" = \"The log, please\";");
    EXPECT_EQ(load().toStdString(), "");
    EXPECT_EQ(wizard_.control(QStringLiteral("showLogMenuItem"))->text().toStdString(), "The log, please");
    EXPECT_EQ(wizard_.control(QStringLiteral("logWindow"))->text().toStdString(), "Installation Log");
}

TEST_P(BrokenInterface, SaysWhichFileIsMissing) {
    ASSERT_TRUE(QFile::remove(path(GetParam())));
    const QString problem = load();
    EXPECT_TRUE(problem.contains(QLatin1String(GetParam()))) << problem.toStdString();
    EXPECT_TRUE(problem.contains(u"cannot be read")) << problem.toStdString();
}

TEST_P(BrokenInterface, SaysWhichFileIsBroken) {
    const QByteArray whole = read(GetParam());
    write(GetParam(), whole.left(whole.size() / 2));
    const QString problem = load();
    EXPECT_TRUE(problem.contains(QLatin1String(GetParam()))) << problem.toStdString();
    EXPECT_TRUE(problem.contains(u"is broken")) << problem.toStdString();
}

INSTANTIATE_TEST_SUITE_P(EachFile, BrokenInterface, ::testing::ValuesIn(kFiles),
                         [](const auto &tested) { return QString::fromLatin1(tested.param).chopped(3).toStdString(); });

TEST_F(BrokenInterface, SaysWhenThereIsNoMainWindowInItsFile) {
    write("MainWindow.ui", "<ui version=\"4.0\"><widget class=\"QWidget\" name=\"something\"/></ui>");
    EXPECT_EQ(load().toStdString(), "The interface description \"MainWindow.ui\" lacks \"parentWindow\".");
}

TEST_F(BrokenInterface, SaysWhenThereIsNoBoxForTheScreens) {
    write("MainWindow.ui", "<ui version=\"4.0\"><widget class=\"WizardWindow\" name=\"parentWindow\"/></ui>");
    EXPECT_EQ(load().toStdString(), "The interface description \"MainWindow.ui\" lacks \"installationBox\".");
}

TEST_F(BrokenInterface, AnOutletThatIsNotDescribedIsNull) {
    write("InstallationResultView.ui",
          "<ui version=\"4.0\"><widget class=\"QWidget\" name=\"installationResultView\"/></ui>");
    EXPECT_EQ(load().toStdString(), "");
    EXPECT_EQ(wizard_.control(QStringLiteral("installationResultLabel")), nullptr);
    controller_.connectOutlets(wizard_);
    EXPECT_FALSE(controller_.installationResultLabel.isConnected());
    controller_.installationResultLabel->setText(QStringLiteral("nobody hears this"));
}

/// The texts of the tables of one language, by their keys.
QHash<QString, QString> interfaceTexts(const QString &language) {
    QFile file(interfaceFolder() + QStringLiteral("/../%1.lproj/Interface.strings").arg(language));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return kyb::parseStringTable(file.readAll()).entries;
}

TEST(InterfaceStrings, EachLanguageHasTheSameKeysAndNoEmptyText) {
    const QHash<QString, QString> english = interfaceTexts(QStringLiteral("en"));
    const QHash<QString, QString> german = interfaceTexts(QStringLiteral("de"));
    EXPECT_FALSE(english.isEmpty());
    EXPECT_EQ(QSet<QString>(english.keyBegin(), english.keyEnd()), QSet<QString>(german.keyBegin(), german.keyEnd()));
    for (auto text = german.begin(); text != german.end(); ++text) {
        EXPECT_FALSE(text->isEmpty()) << text.key().toStdString();
        EXPECT_EQ(english.value(text.key()).toStdString(), text.key().toStdString());
    }
}

TEST(InterfaceStrings, EachKeyIsATextOfADescription) {
    QByteArray descriptions;
    for (const char *name : kFiles) {
        QFile file(interfaceFolder() + u'/' + QLatin1String(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        descriptions += file.readAll();
    }
    const QHash<QString, QString> texts = interfaceTexts(QStringLiteral("en"));
    for (const QString &key : texts.keys()) {
        const bool isOfTheProgram = key == QStringLiteral("Version %1");
        EXPECT_TRUE(isOfTheProgram || descriptions.contains('>' + key.toUtf8() + '<')) << key.toStdString();
    }
}

} // namespace
