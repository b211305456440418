#include "FakeMachine.h"
#include "WizardTest.h"
#include "text/localized_text.h"
#include "text/string_table.h"
#include "ui/views/image_loading.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QLineEdit>
#include <QSet>
#include <QTemporaryDir>
#include <sys/stat.h>

namespace {

struct OutletRow {
    const char *name;
    bool (*leadsTo)(const KYViewController &, kyb::Control *);
};

template <auto outlet> bool leadsTo(const KYViewController &controller, kyb::Control *control) {
    const auto &connected = controller.*outlet;
    return connected.isConnected() && static_cast<kyb::Control *>(&*connected) == control;
}

// clang-format off
#define OUTLET(name) {#name, leadsTo<&KYViewController::name>}

constexpr OutletRow kOutlets[] = {
    OUTLET(parentWindow),
    OUTLET(titleWindow),
    OUTLET(installationBox),
    OUTLET(installationView),
    OUTLET(licenseView),
    OUTLET(publicOrPrivateView),
    OUTLET(installationProgressView),
    OUTLET(installationResultView),
    OUTLET(lockView),
    OUTLET(sourceIconView),
    OUTLET(arrowImageView),
    OUTLET(packageNameLabel),
    OUTLET(destinationNameLabel),
    OUTLET(warningField),
    OUTLET(warningImageView),
    OUTLET(warningScrollView),
    OUTLET(initializationProgressIndicator),
    OUTLET(titleDragandDropMessage),
    OUTLET(topInfoLabel),
    OUTLET(tooltipView),
    OUTLET(licenseTextView),
    OUTLET(termsAndConditionsView),
    OUTLET(termsAndConditionsViewBox),
    OUTLET(checkBoxButton),
    OUTLET(termsOfServiceButton),
    OUTLET(licenseAgrement),
    OUTLET(agreeTermsOfKYB),
    OUTLET(publicCheckBoxButton),
    OUTLET(privateCheckBoxButton),
    OUTLET(publicMessage),
    OUTLET(privateMessage),
    OUTLET(saveComputerSettingsMessage),
    OUTLET(installProgressIndicator),
    OUTLET(progressInfoLabel),
    OUTLET(installProgressViewBoldLabel),
    OUTLET(installationInProgressImageView),
    OUTLET(initializingInstaller),
    OUTLET(installerBusyWarningLabel),
    OUTLET(lockViewLabel),
    OUTLET(installationResultLabel),
    OUTLET(installationSubResultLabel),
    OUTLET(installationResultImageView),
    OUTLET(nextButton),
    OUTLET(backButton),
    OUTLET(closeButton),
    OUTLET(cancelButton),
    OUTLET(multipleActionsButton),
    OUTLET(warningSheetWindow),
    OUTLET(warningSheetTextView),
    OUTLET(warningSheetImageView),
    OUTLET(warningSheetOKButton),
    OUTLET(warningSheetCancelButton),
    OUTLET(appsBusyWarningSheetWindow),
    OUTLET(appsBusyWarningSheet_warning),
    OUTLET(appsBusyWarningSheet_closeApplications),
    OUTLET(appsBusyWarningSheet_CancelButton),
    OUTLET(appsBusyWarningSheet_ContinueButton),
    OUTLET(appRunning_ContinueButton),
    OUTLET(quitAppWarningSheet),
    OUTLET(quit_App_WarningSheet_installerBusyMessage),
    OUTLET(quit_App_WarningSheet_windowClosedMessage),
    OUTLET(quit_App_WarningSheet_OK),
    OUTLET(showLogMenuItem),
    OUTLET(aboutMenuItem),
    OUTLET(installerLog),
    OUTLET(hideMenuItem),
    OUTLET(hideOthers),
    OUTLET(showAll),
    OUTLET(quitMenuItem),
    OUTLET(logWindow),
    OUTLET(logTextView),
    OUTLET(logToolBar),
    OUTLET(searchItem),
    OUTLET(saveButtonItem),
};
// clang-format on

#undef OUTLET

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

TEST_F(WizardTest, EveryOutletLeadsToTheControlOfItsNameAndKind) {
    controller.connectOutlets(*wizard);
    for (const OutletRow &row : kOutlets) {
        EXPECT_TRUE(row.leadsTo(controller, wizard->control(QString::fromLatin1(row.name)))) << row.name;
    }
}

TEST_F(WizardTest, HasNoControlOfAnUnknownName) {
    EXPECT_EQ(wizard->control(QStringLiteral("noSuchControl")), nullptr);
}

TEST_F(WizardTest, GivesTheSameControlEachTime) {
    EXPECT_EQ(&control("closeButton"), &control("closeButton"));
    EXPECT_EQ(&control("arrowImageView"), &control("arrowImageView"));
}

TEST_F(WizardTest, TheTitleWindowIsTheMainWindow) {
    control<kyb::Window>("titleWindow").setText(QStringLiteral("A & B"));
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
        EXPECT_FALSE(control<kyb::Control>(idle).isVisible()) << idle;
    }
}

TEST_F(WizardTest, KnowsTheFramesOfItsPicturesBeforeAnythingIsShown) {
    EXPECT_EQ(control("sourceIconView").frameSize(), QSize(128, 128));
    EXPECT_EQ(control("installationResultImageView").frameSize(), QSize(64, 64));
}

TEST_F(WizardTest, TheComputerIsPrivateAtFirst) {
    EXPECT_TRUE(control<kyb::CheckBox>("privateCheckBoxButton").isChecked());
    EXPECT_FALSE(control<kyb::CheckBox>("publicCheckBoxButton").isChecked());
}

TEST_F(WizardTest, EveryControlThatTakesTheFocusHasAnAccessibleName) {
    control<kyb::Text>("agreeTermsOfKYB").setText(QStringLiteral("I agree"));
    control<kyb::Text>("publicMessage").setText(QStringLiteral("Public"));
    control<kyb::Text>("privateMessage").setText(QStringLiteral("Private"));
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
    controller_.connectOutlets(wizard_);
    EXPECT_EQ(controller_.showLogMenuItem->text().toStdString(), "The log, please");
    EXPECT_EQ(controller_.logWindow->text().toStdString(), "Installation Log");
}

TEST_F(BrokenInterface, WhatCannotBeReadInItsTextsIsToldToTheSystemLog) {
    FakeMachine &machine = FakeMachine::instance();
    machine.write(QStringLiteral("/Installer Folder/Brelund Quorlix Installer.app/Contents/Resources/en.lproj/"
                                 "Interface.strings"),
                  "\"Save\" = \"Keep\";\n\"Filter\" \"Sieve\";\n");
    EXPECT_EQ(load().toStdString(), "");
    const QStringList told = machine.systemLog();
    ASSERT_EQ(told.size(), 1);
    EXPECT_TRUE(told[0].contains(u"en.lproj/Interface.strings:2: ")) << told[0].toStdString();
    EXPECT_EQ(wizard_.object(QStringLiteral("saveButtonItem"))->property("text").toString().toStdString(), "Keep");
}

/// The toolkit asks for the text of an error, and with the screens it asks our table.
TEST_F(BrokenInterface, ATableThatCannotBeReadIsNone) {
    FakeMachine &machine = FakeMachine::instance();
    EXPECT_EQ(load().toStdString(), "");
    const QString resources =
        machine.path(QStringLiteral("/Installer Folder/Brelund Quorlix Installer.app/Contents/Resources/en.lproj/"));
    ASSERT_TRUE(QDir().mkpath(resources + QStringLiteral("Localizable.strings")));
    EXPECT_EQ(kyb::localizedText(QStringLiteral("a text")).toStdString(), "a text");
    ASSERT_TRUE(QDir().rmdir(resources + QStringLiteral("Localizable.strings")));
    ASSERT_EQ(mkfifo(QFile::encodeName(resources + QStringLiteral("Localizable.strings")).constData(), 0600), 0);
    EXPECT_EQ(kyb::localizedText(QStringLiteral("a text")).toStdString(), "a text");
    EXPECT_TRUE(kyb::localizedTable(QStringLiteral("Localizable.strings")).isEmpty());
}

TEST_F(BrokenInterface, ATableOfSixteenMebibytesIsReadAndNoLongerOne) {
    FakeMachine &machine = FakeMachine::instance();
    EXPECT_EQ(load().toStdString(), "");
    const QByteArray entry("\"a\" = \"b\";");
    for (const auto &[bytes, text] : {std::pair(16 << 20, "b"), {(16 << 20) + 1, "a"}}) {
        machine.write(QStringLiteral("/Installer Folder/Brelund Quorlix Installer.app/Contents/Resources/en.lproj/"
                                     "Long.strings"),
                      entry + QByteArray(bytes - entry.size(), ' '));
        EXPECT_EQ(kyb::localizedTable(QStringLiteral("Long.strings")).value(QStringLiteral("a"), QStringLiteral("a")),
                  QLatin1String(text));
    }
}

/// Puts what is shipped into the bundle of the fakes' machine.
void ship(const char *name) {
    QFile shipped(QStringLiteral(KYB_BUILT_RESOURCES "/") + QLatin1String(name));
    ASSERT_TRUE(shipped.open(QIODevice::ReadOnly)) << "the bundle lacks " << name;
    FakeMachine::instance().write(
        QStringLiteral("/Installer Folder/Brelund Quorlix Installer.app/Contents/Resources/") + QLatin1String(name),
        shipped.readAll());
}

TEST_F(BrokenInterface, ToolbarItemsHaveTheirPicturesForEachScreen) {
    ship("save.png");
    ship("save@2x.png");
    ASSERT_EQ(load().toStdString(), "");
    const QIcon icon = qobject_cast<QAction *>(wizard_.object(QStringLiteral("saveButtonItem")))->icon();
    for (const int pixelRatio : {1, 2}) {
        const QImage picture = icon.pixmap({16, 16}, pixelRatio).toImage();
        EXPECT_EQ(picture.width(), 16 * pixelRatio);
        EXPECT_EQ(picture, kyb::bundlePixmap(QStringLiteral("save.png"), {16, 16}, pixelRatio).toImage()) << pixelRatio;
    }
}

TEST_F(BrokenInterface, TheToolkitSpeaksTheUsersLanguage) {
    ship("de.lproj/Toolkit.qm");
    FakeMachine &machine = FakeMachine::instance();
    machine.languages = {QStringLiteral("de"), QStringLiteral("en")};
    EXPECT_EQ(load().toStdString(), "");
    EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "Discard").toStdString(), "Verwerfen");
    EXPECT_EQ(QCoreApplication::translate("QFileDialog", "Look in:").toStdString(), "Suchen in:");
}

TEST_F(BrokenInterface, WithoutTheToolkitsTextsItSpeaksEnglishAndSaysNothingOfIt) {
    FakeMachine &machine = FakeMachine::instance();
    machine.languages = {QStringLiteral("de"), QStringLiteral("en")};
    EXPECT_EQ(load().toStdString(), "");
    EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "Discard").toStdString(), "Discard");
    EXPECT_TRUE(machine.systemLog().isEmpty());
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

TEST_P(BrokenInterface, IsNotHeldUpByAFifo) {
    ASSERT_TRUE(QFile::remove(path(GetParam())));
    ASSERT_EQ(mkfifo(QFile::encodeName(path(GetParam())).constData(), 0600), 0);
    EXPECT_TRUE(load().endsWith(QStringLiteral("\"%1\" cannot be read: Not a file").arg(QLatin1String(GetParam()))));
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

TEST_F(BrokenInterface, AnOutletThatIsDescribedAsAnotherKindIsSkipped) {
    write("InstallationResultView.ui", read("InstallationResultView.ui")
                                           .replace("class=\"Label\" name=\"installationResultLabel\"",
                                                    "class=\"QPushButton\" name=\"installationResultLabel\""));
    EXPECT_EQ(load().toStdString(), "");
    EXPECT_NE(wizard_.control(QStringLiteral("installationResultLabel")), nullptr);
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
        const bool isOfTheProgram = key == QStringLiteral("Version %1") || key == QStringLiteral("Clear Filter");
        EXPECT_TRUE(isOfTheProgram || descriptions.contains('>' + key.toUtf8() + '<')) << key.toStdString();
    }
}

} // namespace
