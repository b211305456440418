#include "WizardTest.h"

#include "FakeMachine.h"
#include "support/PaintCounter.h"
#include "ui/views/ImageView.h"
#include "ui/wizard/BorderBox.h"
#include "ui/wizard/EvenProgressBar.h"
#include "ui/wizard/Label.h"
#include "ui/wizard/LabelledCheckBox.h"
#include "ui/wizard/Spinner.h"
#include "ui/wizard/ToolbarItems.h"
#include "ui/wizard/colors.h"

#include <QAction>
#include <QBuffer>
#include <QCheckBox>
#include <QFontDatabase>
#include <QGroupBox>
#include <QLineEdit>
#include <QMenu>
#include <QPaintEvent>
#include <QPushButton>
#include <QTest>
#include <QToolBar>
#include <QWidgetAction>
#include <QWindow>

using kyb::Color;

namespace {

const QString kAwkward = QStringLiteral("<b>Fish</b> & chips &amp; <i>more");

TEST_F(WizardTest, ShowsTextsAsTheyStand) {
    for (const char *name :
         {"titleDragandDropMessage", "agreeTermsOfKYB", "cancelButton", "aboutMenuItem", "installerLog",
          "appsBusyWarningSheet_warning", "titleWindow", "warningSheetTextView", "licenseTextView", "logTextView"}) {
        control<kyb::HasText>(name).setText(kAwkward);
        EXPECT_EQ(control<kyb::HasText>(name).text().toStdString(), kAwkward.toStdString()) << name;
    }
    EXPECT_EQ(object<QLabel>("titleDragandDropMessage").textFormat(), Qt::PlainText);
    EXPECT_EQ(object<QLabel>("agreeTermsOfKYB").textFormat(), Qt::PlainText);
}

TEST_F(WizardTest, AnAmpersandInATitleIsNoShortcut) {
    control<kyb::Button>("cancelButton").setText(QStringLiteral("Stop & go"));
    EXPECT_TRUE(object<QPushButton>("cancelButton").shortcut().isEmpty());
    EXPECT_EQ(object<QPushButton>("cancelButton").text().toStdString(), "Stop && go");
    control<kyb::Text>("agreeTermsOfKYB").setText(QStringLiteral("Terms & conditions"));
    EXPECT_EQ(object<QLabel>("agreeTermsOfKYB").text().toStdString(), "Terms && conditions");
}

TEST_F(WizardTest, ANewTitleLeavesTheShortcut) {
    const QKeySequence before = object<QPushButton>("backButton").shortcut();
    ASSERT_FALSE(before.isEmpty());
    control<kyb::Button>("backButton").setText(QStringLiteral("Zurück"));
    EXPECT_EQ(object<QPushButton>("backButton").shortcut(), before);
}

TEST_F(WizardTest, FitsAButtonToItsTitleAndLeavesTheOthers) {
    open();
    control<kyb::Button>("termsOfServiceButton").setText(QStringLiteral("Terms"));
    control<kyb::Button>("termsOfServiceButton").sizeToFit();
    QCoreApplication::processEvents();
    const int narrow = object("termsOfServiceButton").width();
    const QRect cancel = object("cancelButton").geometry();
    const QRect forward = object("multipleActionsButton").geometry();
    control<kyb::Button>("termsOfServiceButton")
        .setText(QStringLiteral("All the terms and conditions of this service"));
    control<kyb::Button>("termsOfServiceButton").sizeToFit();
    QCoreApplication::processEvents();
    EXPECT_GT(object("termsOfServiceButton").width(), narrow + 100);
    EXPECT_EQ(object("cancelButton").geometry(), cancel);
    EXPECT_EQ(object("multipleActionsButton").geometry(), forward);
}

TEST_F(WizardTest, TitlesOfButtonsKeepClearOfTheirFrames) {
    const QString title = QStringLiteral("A title that is longer than any room that is left for it");
    for (const char *name : {"showLogButton", "termsOfServiceButton", "warningSheetOKButton"}) {
        auto &button = object<QPushButton>(name);
        button.setText(title);
        EXPECT_GE(button.sizeHint().width(), button.fontMetrics().horizontalAdvance(title) + 2 * 12) << name;
    }
}

TEST_F(WizardTest, EnablesAndDisables) {
    for (const char *name : {"multipleActionsButton", "checkBoxButton", "quitMenuItem", "installerLog", "searchItem"}) {
        control<kyb::Control>(name).setEnabled(false);
        EXPECT_FALSE(control<kyb::Control>(name).isEnabled()) << name;
        control<kyb::Control>(name).setEnabled(true);
        EXPECT_TRUE(control<kyb::Control>(name).isEnabled()) << name;
    }
}

TEST_F(WizardTest, APressRunsTheActionWithItsSender) {
    kyb::HasText *sender = nullptr;
    control<kyb::Button>("cancelButton").onAction([&](kyb::HasText &pressed) { sender = &pressed; });
    object<QPushButton>("cancelButton").click();
    EXPECT_EQ(sender, &control<kyb::Button>("cancelButton"));
}

TEST_F(WizardTest, ADisabledButtonCannotBePressed) {
    int &presses = actionsOf("multipleActionsButton");
    control("multipleActionsButton").setEnabled(false);
    object<QPushButton>("multipleActionsButton").click();
    EXPECT_EQ(presses, 0);
}

TEST_F(WizardTest, ACheckBoxReportsClicksOnly) {
    int &clicks = actionsOf("checkBoxButton");
    control<kyb::CheckBox>("checkBoxButton").setChecked(true);
    EXPECT_TRUE(control<kyb::CheckBox>("checkBoxButton").isChecked());
    EXPECT_EQ(clicks, 0);
    object<QCheckBox>("checkBoxButton").click();
    EXPECT_FALSE(control<kyb::CheckBox>("checkBoxButton").isChecked());
    EXPECT_EQ(clicks, 1);
}

TEST_F(WizardTest, ACheckBoxInAMixedStateIsNotChecked) {
    object<QCheckBox>("checkBoxButton").setCheckState(Qt::PartiallyChecked);
    EXPECT_FALSE(control<kyb::CheckBox>("checkBoxButton").isChecked());
}

TEST_F(WizardTest, AClickOnALabelIsAClickOnItsCheckBox) {
    open();
    control<kyb::Text>("agreeTermsOfKYB").setText(QStringLiteral("I agree"));
    int &clicks = actionsOf("checkBoxButton");
    QTest::mouseClick(&object("agreeTermsOfKYB"), Qt::LeftButton);
    EXPECT_TRUE(control<kyb::CheckBox>("checkBoxButton").isChecked());
    QTest::mouseClick(&object("agreeTermsOfKYB"), Qt::RightButton);
    control("checkBoxButton").setEnabled(false);
    QTest::mouseClick(&object("agreeTermsOfKYB"), Qt::LeftButton);
    EXPECT_TRUE(control<kyb::CheckBox>("checkBoxButton").isChecked());
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(object("checkBoxButton").accessibleName().toStdString(), "I agree");
}

TEST_F(WizardTest, EveryPointFromABoxToItsTextTakesAClick) {
    struct {
        const char *box, *label, *screen;
    } const rows[] = {{"checkBoxButton", "agreeTermsOfKYB", "installationView"},
                      {"publicCheckBoxButton", "publicMessage", "publicOrPrivateView"},
                      {"privateCheckBoxButton", "privateMessage", "publicOrPrivateView"}};
    open();
    for (const auto &row : rows) {
        showScreen(row.screen);
        control(row.screen).setHidden(false);
        control<kyb::Text>(row.label).setText(QStringLiteral("A text"));
        QCoreApplication::processEvents();
        int &clicks = actionsOf(row.box);
        const QPoint start = object(row.box).mapTo(wizard->window(), QPoint(4, object(row.box).height() / 2));
        const int end = object(row.label).mapTo(wizard->window(), QPoint(4, 0)).x();
        for (int x = start.x(); x <= end; ++x) {
            QTest::mouseClick(wizard->window()->windowHandle(), Qt::LeftButton, {}, QPoint(x, start.y()));
            EXPECT_EQ(clicks, x - start.x() + 1) << row.box << " at " << x;
        }
    }
}

TEST_F(WizardTest, APressThatLeavesTheLabelIsNoClick) {
    open();
    QWidget &label = object("agreeTermsOfKYB");
    QTest::mousePress(&label, Qt::LeftButton);
    QTest::mouseRelease(&label, Qt::LeftButton, {}, QPoint(5, -20));
    EXPECT_FALSE(control<kyb::CheckBox>("checkBoxButton").isChecked());
}

TEST_F(WizardTest, TransparentKeepsItsPlaceAndIsOutOfReach) {
    open();
    const QRect cancel = object("cancelButton").geometry();
    const QRect place = object("multipleActionsButton").geometry();
    control("closeButton").setTransparent(true);
    control("multipleActionsButton").setTransparent(true);
    QCoreApplication::processEvents();
    EXPECT_FALSE(control("multipleActionsButton").isVisible());
    EXPECT_EQ(object("cancelButton").geometry(), cancel);
    int &presses = actionsOf("multipleActionsButton");
    QTest::mouseClick(object("multipleActionsButton").parentWidget(), Qt::LeftButton, {}, place.center());
    EXPECT_EQ(presses, 0);
    control("multipleActionsButton").setTransparent(false);
    QCoreApplication::processEvents();
    EXPECT_TRUE(control("multipleActionsButton").isVisible());
    EXPECT_EQ(object("multipleActionsButton").geometry(), place);
}

TEST_F(WizardTest, HiddenAndTransparentAreTwoThings) {
    control("backButton").setTransparent(true);
    control("backButton").setHidden(true);
    control("backButton").setTransparent(false);
    EXPECT_FALSE(control("backButton").isVisible());
    control("backButton").setHidden(false);
    EXPECT_TRUE(control("backButton").isVisible());
}

TEST_F(WizardTest, WhatADescriptionHidesStaysHidden) {
    for (const char *idle : {"topInfoLabel", "tooltipView"}) { // one of the program's own, one of the toolkit's
        control(idle).setTransparent(true);
        control(idle).setTransparent(false);
        EXPECT_FALSE(control(idle).isVisible()) << idle;
        control(idle).setHidden(false);
        EXPECT_TRUE(control(idle).isVisible()) << idle;
    }
}

TEST_F(WizardTest, AScreenComesOnTopAndFillsTheBox) {
    open();
    control("installationBox").addSubview(control("licenseView"));
    QCoreApplication::processEvents();
    EXPECT_EQ(object("licenseView").geometry(), object("installationBox").rect());
    const QPoint middle = object("installationBox").rect().center();
    EXPECT_TRUE(object("licenseView").isAncestorOf(object("installationBox").childAt(middle)));
    EXPECT_TRUE(control("installationView").isVisible()); // beneath
}

TEST_F(WizardTest, AHiddenScreenStaysHiddenWhenItIsAdded) {
    control("installationView").setHidden(true);
    control("installationView").removeFromSuperview();
    control("installationBox").addSubview(control("installationView"));
    EXPECT_FALSE(control("installationView").isVisible());
    control("installationView").setHidden(false);
    EXPECT_TRUE(control("installationView").isVisible());
}

TEST_F(WizardTest, AViewFromElsewhereIsShownWhenItIsAdded) {
    open();
    auto *elsewhere = new kyb::ImageView; // the box owns it from now on
    control("installationBox").addSubview(*elsewhere);
    EXPECT_TRUE(elsewhere->QWidget::isVisible());
}

TEST_F(WizardTest, AHiddenWindowStaysHiddenWhateverElseIsAskedOfIt) {
    open();
    control("parentWindow").setHidden(true);
    control("parentWindow").setTransparent(true);
    control("parentWindow").setTransparent(false);
    EXPECT_FALSE(object("parentWindow").isVisible());
    control("parentWindow").setHidden(false);
    EXPECT_TRUE(object("parentWindow").isVisible());
}

TEST_F(WizardTest, ARemovedScreenIsGoneUntilItIsAddedAgain) {
    control("installationBox").addSubview(control("publicOrPrivateView"));
    control("publicOrPrivateView").removeFromSuperview();
    control("publicOrPrivateView").setHidden(false);
    EXPECT_FALSE(control("publicOrPrivateView").isVisible());
    EXPECT_FALSE(control("publicMessage").isVisible());
    control("installationBox").addSubview(control("publicOrPrivateView"));
    EXPECT_TRUE(control("publicMessage").isVisible());
}

TEST_F(WizardTest, ShowsPictures) {
    control<kyb::Image>("arrowImageView").setImage({QStringLiteral("Drag_arrow.png"), {}});
    control<kyb::Image>("sourceIconView").setImage({QStringLiteral("Package.png"), {128, 128}});
    EXPECT_EQ(object<kyb::ImageView>("arrowImageView").image().name.toStdString(), "Drag_arrow.png");
    EXPECT_EQ(object<kyb::ImageView>("sourceIconView").image().size, QSize(128, 128));
}

TEST_F(WizardTest, TheWarningSheetShowsTheAlertPicture) {
    QImage picture(64, 64, QImage::Format_ARGB32);
    picture.fill(Qt::magenta);
    QByteArray file;
    QBuffer buffer(&file);
    picture.save(&buffer, "PNG");
    FakeMachine::instance().write(
        QStringLiteral("/Installer Folder/Brelund Quorlix Installer.app/Contents/Resources/Alert.png"), file);
    open();
    control<kyb::Window>("parentWindow").beginSheet(control<kyb::Sheet>("warningSheetWindow"));
    const QImage shown = object("warningSheetImageView").grab().toImage();
    EXPECT_EQ(shown.pixelColor(1, 1), QColor(Qt::magenta));
    EXPECT_EQ(shown.pixelColor(62, 62), QColor(Qt::magenta));
}

TEST_F(WizardTest, TheTermsHaveAClearBorderOrAPurelyRedOne) {
    const auto &box = object<kyb::BorderBox>("termsAndConditionsViewBox");
    EXPECT_EQ(box.borderColor().alpha(), 0);
    control<kyb::Box>("termsAndConditionsViewBox").setBorderColor(Color::Red);
    EXPECT_EQ(box.borderColor(), QColor(255, 0, 0));
    control<kyb::Box>("termsAndConditionsViewBox").setBorderColor(Color::Clear);
    EXPECT_EQ(box.borderColor().alpha(), 0);
}

TEST_F(WizardTest, TheRedBorderIsDrawn) {
    open();
    QWidget &box = object("termsAndConditionsViewBox");
    control<kyb::Box>("termsAndConditionsViewBox").setBorderColor(Color::Red);
    EXPECT_EQ(box.grab().toImage().pixelColor(box.width() / 2, 1), QColor(255, 0, 0));
    control<kyb::Box>("termsAndConditionsViewBox").setBorderColor(Color::Clear);
    EXPECT_NE(box.grab().toImage().pixelColor(box.width() / 2, 1), QColor(255, 0, 0));
}

TEST_F(WizardTest, ATextCanBeRedOrBlack) {
    const auto shown = [this] { return object("packageNameLabel").palette().color(QPalette::WindowText); };
    control<kyb::Text>("packageNameLabel").setTextColor(Color::Red);
    EXPECT_EQ(shown().hslHue(), 0);
    EXPECT_GT(shown().hslSaturation(), 200);
    control<kyb::Text>("packageNameLabel").setTextColor(Color::Standard);
    EXPECT_EQ(shown(), QApplication::palette().color(QPalette::WindowText));
    control<kyb::Text>("warningSheetTextView").setTextColor(Color::Black);
    EXPECT_EQ(object("warningSheetTextView").palette().color(QPalette::WindowText), QColor(0, 0, 0));
    EXPECT_FALSE(object("warningSheetTextView").autoFillBackground());
}

TEST_F(WizardTest, BlackTextIsReadableInTheDark) {
    control<kyb::Text>("warningSheetTextView").setTextColor(Color::Black);
    goDark();
    const QPalette palette = object("warningSheetTextView").palette();
    EXPECT_EQ(palette.color(QPalette::WindowText), QColor(0, 0, 0));
    EXPECT_EQ(palette.color(QPalette::Window), QColor(255, 255, 255));
    EXPECT_TRUE(object("warningSheetTextView").autoFillBackground());
}

TEST(ReadableColor, IsReadableOnEveryGroundAndKeepsItsHue) {
    for (const QColor &color : {QColor(Qt::red), QColor(Qt::green), QColor(Qt::blue), QColor(128, 64, 64)}) {
        for (int gray = 0; gray <= 255; gray += 15) {
            const QColor shown = kyb::readableColor(color, QColor(gray, gray, gray));
            EXPECT_GE(kyb::contrast(shown, QColor(gray, gray, gray)), 4.5) << gray;
            EXPECT_TRUE(shown.hslSaturationF() < 0.01 || std::abs(shown.hslHue() - color.hslHue()) <= 1) << gray;
        }
    }
}

TEST_F(WizardTest, RedTextIsReadableInEachAppearance) {
    const auto check = [this] {
        const QColor red = object("packageNameLabel").palette().color(QPalette::WindowText);
        EXPECT_GE(kyb::contrast(red, QApplication::palette().color(QPalette::Window)), 4.5);
        EXPECT_EQ(red.hslHue(), 0);
    };
    control<kyb::Text>("packageNameLabel").setTextColor(Color::Red);
    check();
    goDark();
    check();
}

TEST_F(WizardTest, TextsFollowTheAppearance) {
    const auto contrastOf = [this](const char *name) {
        const QPalette palette = object(name).palette();
        return kyb::contrast(palette.color(QPalette::WindowText), QApplication::palette().color(QPalette::Window));
    };
    for (const char *name : {"progressInfoLabel", "titleDragandDropMessage", "packageNameLabel"}) {
        EXPECT_GE(contrastOf(name), 4.5) << name;
    }
    goDark();
    for (const char *name : {"progressInfoLabel", "titleDragandDropMessage", "packageNameLabel"}) {
        EXPECT_GE(contrastOf(name), 4.5) << name;
    }
}

TEST_F(WizardTest, StylesOfTextsAreToldBySizeWeightAndColour) {
    const auto &standard = QApplication::palette();
    const QColor receding = kyb::mixed(standard.color(QPalette::WindowText), standard.color(QPalette::Window), 0.3F);
    const double size = QApplication::font("QLabel").pointSizeF();
    using Style = kyb::Label::TextStyle;
    const std::tuple<Style, double, QFont::Weight, QColor> rows[] = {
        {Style::Body, size, QFont::Normal, standard.color(QPalette::WindowText)},
        {Style::Headline, 1.5 * size, QFont::DemiBold, standard.color(QPalette::WindowText)},
        {Style::Emphasis, size, QFont::DemiBold, standard.color(QPalette::WindowText)},
        {Style::Secondary, size, QFont::Normal, receding},
    };
    kyb::Label label;
    for (const auto &[style, points, weight, color] : rows) {
        label.setTextStyle(style);
        EXPECT_EQ(label.textStyle(), style);
        EXPECT_EQ(label.QWidget::font().pointSizeF(), points);
        EXPECT_EQ(label.QWidget::font().weight(), weight);
        EXPECT_EQ(label.palette().color(QPalette::WindowText), color);
    }
    EXPECT_EQ(object<kyb::Label>("titleDragandDropMessage").textStyle(), Style::Headline);
    EXPECT_EQ(object<kyb::Label>("quit_App_WarningSheet_installerBusyMessage").textStyle(), Style::Emphasis);
}

TEST_F(WizardTest, BlackTextsStandOnPaperInTheDark) {
    kyb::Label label;
    label.setTextColor(kyb::Color::Black);
    EXPECT_EQ(label.margin(), 0);
    EXPECT_FALSE(label.autoFillBackground());
    goDark();
    EXPECT_EQ(label.margin(), 8);
    EXPECT_TRUE(label.autoFillBackground());
    EXPECT_EQ(label.palette().color(QPalette::Window), QColor(Qt::white));
    label.setTextColor(kyb::Color::Standard);
    EXPECT_EQ(label.margin(), 0);
    EXPECT_FALSE(label.autoFillBackground());
}

TEST_F(WizardTest, ToolbarItemsHaveTheirMeasures) {
    const kyb::SearchItem search(nullptr);
    EXPECT_EQ(search.field().minimumSize(), QSize(280, 28));
    EXPECT_EQ(search.field().maximumSize(), QSize(280, 28));
    EXPECT_TRUE(search.field().isClearButtonEnabled());
    kyb::MessageItem message(nullptr);
    const auto &label = dynamic_cast<const kyb::Label &>(*message.defaultWidget());
    EXPECT_EQ(label.contentsMargins(), QMargins(0, 0, 12, 0));
    EXPECT_EQ(label.alignment(), Qt::AlignRight | Qt::AlignVCenter);
    EXPECT_EQ(label.sizePolicy(), QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred));
    EXPECT_EQ(label.minimumWidth(), 1);
    EXPECT_EQ(label.textStyle(), kyb::Label::TextStyle::Secondary);
    EXPECT_TRUE(label.testAttribute(Qt::WA_TransparentForMouseEvents));
    message.setText(QStringLiteral("No lines"));
    EXPECT_EQ(label.text().toStdString(), "No lines");
}

TEST_F(WizardTest, ACheckBoxWithALabelHasAGapBeforeIt) {
    const QCheckBox plain;
    const kyb::LabelledCheckBox box;
    EXPECT_EQ(box.sizeHint(), plain.sizeHint() + QSize(16, 0));
    EXPECT_EQ(box.minimumSizeHint(), box.sizeHint());
}

TEST_F(WizardTest, TakesAFontThatTheSystemHas) {
    const QString family = QFontDatabase::families().constFirst();
    control<kyb::Text>("logTextView").setFont({family, 15.0});
    EXPECT_EQ(control<kyb::Text>("logTextView").font().family, family);
    EXPECT_EQ(control<kyb::Text>("logTextView").font().sizePoints, 15.0);
}

TEST_F(WizardTest, SkipsAFontThatTheSystemLacks) {
    const kyb::FontChoice before = control<kyb::Text>("logTextView").font();
    control<kyb::Text>("logTextView").setFont({QStringLiteral("No Such Font At All"), 31.0});
    control<kyb::Text>("logTextView").setFont({QString(), 31.0});
    EXPECT_EQ(control<kyb::Text>("logTextView").font().family, before.family);
    EXPECT_EQ(control<kyb::Text>("logTextView").font().sizePoints, before.sizePoints);
}

TEST_F(WizardTest, TheProgressBarGlidesToItsValue) {
    open();
    showScreen("installationProgressView");
    const auto &bar = object<kyb::EvenProgressBar>("installProgressIndicator");
    control<kyb::ProgressIndicator>("installProgressIndicator").setValue(0);
    control<kyb::ProgressIndicator>("installProgressIndicator").setValue(42.5);
    EXPECT_EQ(control<kyb::ProgressIndicator>("installProgressIndicator").value(), 42.5);
    EXPECT_LT(bar.shownPercentage(), 42.5);
    double last = 0;
    waitUntil([&] {
        EXPECT_GE(bar.shownPercentage(), last);
        last = bar.shownPercentage();
        return last == 42.5;
    });
}

TEST_F(WizardTest, WhatTheProgressBarShowsGoesBackToZeroOnly) {
    open();
    showScreen("installationProgressView");
    const auto &bar = object<kyb::EvenProgressBar>("installProgressIndicator");
    control<kyb::ProgressIndicator>("installProgressIndicator").setValue(70);
    waitUntil([&] { return bar.shownPercentage() == 70; });
    control<kyb::ProgressIndicator>("installProgressIndicator").setValue(5);
    EXPECT_EQ(control<kyb::ProgressIndicator>("installProgressIndicator").value(), 5);
    EXPECT_EQ(bar.shownPercentage(), 70);
    EXPECT_FALSE(bar.isGliding());
    control<kyb::ProgressIndicator>("installProgressIndicator").setValue(0);
    EXPECT_EQ(bar.shownPercentage(), 0);
}

TEST_F(WizardTest, TheProgressBarShowsNoMoreThanAll) {
    control<kyb::ProgressIndicator>("installProgressIndicator").setValue(150);
    EXPECT_EQ(control<kyb::ProgressIndicator>("installProgressIndicator").value(), 150);
    EXPECT_EQ(object<kyb::EvenProgressBar>("installProgressIndicator").shownPercentage(), 100);
}

TEST_F(WizardTest, TheSpinnerTurnsBetweenStartAndStop) {
    const auto &spinner = object<kyb::Spinner>("initializationProgressIndicator");
    control<kyb::ProgressIndicator>("initializationProgressIndicator").startAnimation();
    EXPECT_TRUE(spinner.isTurning());
    control<kyb::ProgressIndicator>("initializationProgressIndicator").stopAnimation();
    EXPECT_FALSE(spinner.isTurning());
}

TEST_F(WizardTest, WhatIsAwaitedGoesWithTheSpinner) {
    EXPECT_TRUE(control("initializingInstaller").isVisible());
    control("initializationProgressIndicator").setHidden(true);
    EXPECT_FALSE(control("initializingInstaller").isVisible());
}

TEST_F(WizardTest, DrawsAtOnceWhenAsked) {
    open();
    showScreen("installationProgressView");
    const kyb::test::PaintCounter label(object("installProgressViewBoldLabel"));
    control<kyb::Text>("installProgressViewBoldLabel").setText(QStringLiteral("Installing"));
    EXPECT_EQ(label.paints(), 0);
    control("installationProgressView").displayNow();
    EXPECT_EQ(label.paints(), 1);
    EXPECT_EQ(object("installationProgressView").geometry(), object("installationBox").rect());
    EXPECT_GT(object("installProgressViewBoldLabel").width(), 100);
    control("installProgressViewBoldLabel").displayNow();
    EXPECT_EQ(label.paints(), 2); // whether or not anything has changed
}

TEST_F(WizardTest, DrawsWhatHasChangedAtOnceWhenAsked) {
    open();
    showScreen("installationProgressView");
    control("installationProgressView").displayNow();
    const kyb::test::PaintCounter label(object("progressInfoLabel"));
    control<kyb::Text>("progressInfoLabel").setText(QStringLiteral("Copying"));
    EXPECT_EQ(label.paints(), 0);
    control("progressInfoLabel").displayIfNeeded();
    EXPECT_EQ(label.paints(), 1);
    control("progressInfoLabel").displayIfNeeded();
    EXPECT_EQ(label.paints(), 1);
}

/// The parts of a widget that were drawn.
class Drawings : public QObject {
public:
    explicit Drawings(QWidget &widget) { widget.installEventFilter(this); }
    bool eventFilter(QObject *, QEvent *event) override {
        if (event->type() == QEvent::Paint) {
            drawn += static_cast<QPaintEvent *>(event)->region();
        }
        return false;
    }
    QRegion drawn;
};

TEST_F(WizardTest, WhatStandsBehindAControlThatIsGoneIsDrawnAtOnce) {
    open();
    for (const char *name : {"termsOfServiceButton", "cancelButton", "multipleActionsButton"}) {
        QWidget &button = object(name);
        Drawings behind(*button.parentWidget());
        control(name).setTransparent(true);
        EXPECT_FALSE(behind.drawn.contains(button.geometry().center())) << name;
        control(name).displayNow();
        EXPECT_TRUE(behind.drawn.contains(button.geometry().center())) << name;
    }
}

TEST_F(WizardTest, WhatHasChangedIsDrawnAtOnceIfNeeded) {
    open();
    QCoreApplication::processEvents();
    QWidget &button = object("cancelButton");
    Drawings behind(*button.parentWidget());
    control("cancelButton").displayIfNeeded();
    EXPECT_TRUE(behind.drawn.isEmpty());
    control("cancelButton").setTransparent(true);
    control("cancelButton").displayIfNeeded();
    EXPECT_TRUE(behind.drawn.contains(button.geometry().center()));
}

TEST_F(WizardTest, TheLogMenuIsThereOnceItHasSomething) {
    control<kyb::MenuItem>("showLogMenuItem"); // known to the program
    EXPECT_FALSE(control<kyb::MenuItem>("installerLog").isVisible());
    EXPECT_FALSE(control<kyb::MenuItem>("showLogMenuItem").isEnabled());
    control<kyb::MenuItem>("showLogMenuItem").setHidden(false);
    EXPECT_TRUE(control<kyb::MenuItem>("installerLog").isVisible());
    EXPECT_TRUE(control<kyb::MenuItem>("showLogMenuItem").isVisible());
}

TEST_F(WizardTest, AMenuItemRunsItsAction) {
    int &choices = actionsOf("quitMenuItem");
    object<QAction>("quitMenuItem").trigger();
    EXPECT_EQ(choices, 1);
}

TEST_F(WizardTest, TheLogButtonFollowsTheMenuItem) {
    open();
    showScreen("installationResultView");
    auto &button = object<QPushButton>("showLogButton");
    EXPECT_FALSE(button.isVisible());
    control<kyb::MenuItem>("showLogMenuItem").setHidden(false);
    control<kyb::MenuItem>("showLogMenuItem").setEnabled(true);
    EXPECT_TRUE(button.isVisible());
    EXPECT_TRUE(button.isEnabled());
    int &choices = actionsOf("showLogMenuItem");
    button.click();
    EXPECT_EQ(choices, 1);
}

TEST_F(WizardTest, NothingMovesWhenTheLogButtonComes) {
    open();
    showScreen("installationResultView");
    QCoreApplication::processEvents();
    const auto places = [this] {
        QVector<QRect> all;
        for (const QWidget *widget : wizard->window()->findChildren<QWidget *>()) {
            all.append(widget->geometry());
        }
        return all;
    };
    const QVector<QRect> before = places();
    control<kyb::MenuItem>("showLogMenuItem").setHidden(false);
    QCoreApplication::processEvents();
    ASSERT_TRUE(object<QPushButton>("showLogButton").isVisible());
    EXPECT_EQ(places(), before);
}

TEST_F(WizardTest, ToolbarItemsComeWhenTheyAreInserted) {
    auto &bar = object<QToolBar>("logToolBar");
    ASSERT_EQ(bar.actions().size(), 1);
    for (int time = 0; time < 2; ++time) {
        control<kyb::ToolBar>("logToolBar").insertItem(control<kyb::MenuItem>("searchItem"), 1);
        control<kyb::ToolBar>("logToolBar").insertItem(control<kyb::MenuItem>("saveButtonItem"), 2);
        ASSERT_EQ(bar.actions().size(), 3);
        EXPECT_EQ(bar.actions()[1]->objectName().toStdString(), "searchItem");
        EXPECT_EQ(bar.actions()[2]->objectName().toStdString(), "saveButtonItem");
    }
}

TEST_F(WizardTest, AnIndexPastTheEndOfTheToolbarIsTheEnd) {
    control<kyb::ToolBar>("logToolBar").insertItem(control<kyb::MenuItem>("saveButtonItem"), 99);
    EXPECT_EQ(object<QToolBar>("logToolBar").actions().constLast()->objectName().toStdString(), "saveButtonItem");
}

TEST_F(WizardTest, TheSearchFieldReportsEachKeystroke) {
    control<kyb::ToolBar>("logToolBar").insertItem(control<kyb::MenuItem>("searchItem"), 1);
    control<kyb::Window>("logWindow").makeKeyAndOrderFront();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&object("logWindow")));
    QStringList reported;
    control<kyb::MenuItem>("searchItem").onAction([&](kyb::HasText &sender) { reported << sender.text(); });
    auto *field = object("logToolBar").findChild<QLineEdit *>();
    ASSERT_NE(field, nullptr);
    QTest::keyClicks(field, QStringLiteral("abc"));
    EXPECT_EQ(reported, QStringList({QStringLiteral("a"), QStringLiteral("ab"), QStringLiteral("abc")}));
    field->setFocus();
    QTest::keyClick(field, Qt::Key_Escape);
    EXPECT_EQ(control<kyb::MenuItem>("searchItem").text().toStdString(), "");
}

TEST_F(WizardTest, TheFilterTellsItsRules) {
    for (const char *rule : {"Case-sensitive", "two characters"}) {
        EXPECT_TRUE(object<QAction>("searchItem").toolTip().contains(QLatin1String(rule))) << rule;
    }
}

TEST_F(WizardTest, MatchesAreCountedBesideTheFilter) {
    FakeMachine::instance().write(
        QStringLiteral("/Installer Folder/Brelund Quorlix Installer.app/Contents/Resources/en.lproj/"
                       "Localizable.strings"),
        "\"NoMatches\" = \"none\"; \"OneMatch\" = \"just %@\"; \"Matches\" = \"%@ lines\";");
    controller.connectOutlets(*wizard);
    controller.logFileData = QStringLiteral("one\ntwo\nthree\nbone");
    controller.allLinesOfLogFileData = kyb::LogLines(controller.logFileData);
    auto &message = object<QWidgetAction>("matchesItem");
    const auto shownFor = [&](const char *filter) {
        control<kyb::MenuItem>("searchItem").setText(QLatin1String(filter));
        return static_cast<QLabel *>(message.defaultWidget())->text().toStdString();
    };
    EXPECT_EQ(shownFor("one"), "2 lines");
    EXPECT_EQ(shownFor("thr"), "just 1");
    EXPECT_EQ(shownFor("ONE"), "none");
    EXPECT_EQ(control<kyb::Text>("logTextView").text().toStdString(), "");
    EXPECT_EQ(shownFor("o"), "");
    EXPECT_EQ(control<kyb::Text>("logTextView").text(), controller.logFileData);
}

} // namespace
