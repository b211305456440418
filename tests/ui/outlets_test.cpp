#include "ControllerTest.h"

namespace {

// clang-format off
template <class Outlet> constexpr bool kHasBorder = requires(Outlet outlet) { outlet->setBorderColor(kyb::Color::Red); };
template <class Outlet> constexpr bool kHasTick = requires(Outlet outlet) { outlet->setChecked(true); };
template <class Outlet> constexpr bool kHasText = requires(Outlet outlet) { outlet->setText(QString()); };
template <class Outlet> constexpr bool kHasFont = requires(Outlet outlet) { outlet->setFont({}); };
template <class Outlet> constexpr bool kHasFrame = requires(Outlet outlet) { outlet->frameSize(); };
template <class Outlet> constexpr bool kIsSheet = requires(Outlet outlet, kyb::Window window) { window.beginSheet(*outlet); };
template <class Outlet> constexpr bool kIsMenuItem = requires(Outlet outlet, kyb::ToolBar bar) { bar.insertItem(*outlet, 0); };
// clang-format on

// What a control of that kind cannot do does not compile.
#define OUTLET(name) decltype(KYViewController::name)
static_assert(kHasBorder<OUTLET(termsAndConditionsViewBox)> && !kHasBorder<OUTLET(termsAndConditionsView)>);
static_assert(kHasTick<OUTLET(checkBoxButton)> && !kHasTick<OUTLET(nextButton)>);
static_assert(kHasText<OUTLET(nextButton)> && !kHasText<OUTLET(arrowImageView)>);
static_assert(kHasFont<OUTLET(logTextView)> && !kHasFont<OUTLET(nextButton)>);
static_assert(kHasFrame<OUTLET(sourceIconView)> && !kHasFrame<OUTLET(quitMenuItem)>);
static_assert(kIsSheet<OUTLET(quitAppWarningSheet)> && !kIsSheet<OUTLET(logWindow)>);
static_assert(kIsMenuItem<OUTLET(searchItem)> && !kIsMenuItem<OUTLET(nextButton)>);
#undef OUTLET

TEST(Outlets, AnOutletIsSkippedUntilItIsConnected) {
    QStringList journal;
    FakeControl control(QStringLiteral("box"), journal);
    kyb::Outlet<kyb::CheckBox> outlet;
    EXPECT_FALSE(outlet.isConnected());
    outlet->setChecked(true);
    EXPECT_FALSE(outlet->isChecked());
    outlet.connect(&control);
    EXPECT_TRUE(outlet.isConnected());
    outlet->setChecked(true);
    EXPECT_TRUE(outlet->isChecked());
    outlet.connect(nullptr);
    EXPECT_FALSE(outlet.isConnected());
    EXPECT_EQ(journal, QStringList{QStringLiteral("box checked yes")});
}

TEST_F(ControllerTest, TheseControlsHaveAnActionAndNoOthers) {
    connectScreens();
    EXPECT_EQ(screens.controlsWithActions(), (QStringList{
                                                 QStringLiteral("appsBusyWarningSheet_CancelButton"),
                                                 QStringLiteral("backButton"),
                                                 QStringLiteral("cancelButton"),
                                                 QStringLiteral("checkBoxButton"),
                                                 QStringLiteral("closeButton"),
                                                 QStringLiteral("multipleActionsButton"),
                                                 QStringLiteral("privateCheckBoxButton"),
                                                 QStringLiteral("publicCheckBoxButton"),
                                                 QStringLiteral("quitMenuItem"),
                                                 QStringLiteral("quit_App_WarningSheet_OK"),
                                                 QStringLiteral("saveButtonItem"),
                                                 QStringLiteral("searchItem"),
                                                 QStringLiteral("showLogMenuItem"),
                                                 QStringLiteral("termsOfServiceButton"),
                                                 QStringLiteral("warningSheetCancelButton"),
                                                 QStringLiteral("warningSheetOKButton"),
                                             }));
}

TEST(Outlets, AControlOfAnotherKindIsNotConnected) {
    kyb::Button button;
    kyb::Outlet<kyb::CheckBox> outlet;
    outlet.connect(&button);
    EXPECT_FALSE(outlet.isConnected());
    outlet->setChecked(true);
}

} // namespace
