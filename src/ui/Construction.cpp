#include "controller/KYViewController.h"

#include "text/localized_text.h"
#include "text/string_table.h"

namespace {

using Self = KYViewController;

struct TextRow {
    kyb::HasText &(*control)(const Self &);
    const char *key;
};

template <auto outlet> kyb::HasText &control(const Self &self) {
    return *(self.*outlet);
}

// clang-format off
/// What is written where, in this order.
constexpr TextRow kTexts[] = {
    {control<&Self::aboutMenuItem>,                                     "AboutWrapper"},
    {control<&Self::installerLog>,                                      "InstallerLog"},
    {control<&Self::hideMenuItem>,                                      "HideWrapper"},
    {control<&Self::hideOthers>,                                        "HideOthers"},
    {control<&Self::showAll>,                                           "ShowAll"},
    {control<&Self::quitMenuItem>,                                      "QuitWrapper"},
    {control<&Self::agreeTermsOfKYB>,                                   "IAgreeTermsOfKYB"},
    {control<&Self::titleDragandDropMessage>,                           "TitleMessage"},
    {control<&Self::initializingInstaller>,                             "Intializing"}, // NB: spelled so in the tables
    {control<&Self::termsOfServiceButton>,                              "TermsOfService"},
    {control<&Self::cancelButton>,                                      "Cancel"},
    {control<&Self::closeButton>,                                       "Close"},
    {control<&Self::nextButton>,                                        "Next"},
    {control<&Self::backButton>,                                        "Back"},
    {control<&Self::quit_App_WarningSheet_installerBusyMessage>,        "InstallerBusy"},
    {control<&Self::quit_App_WarningSheet_windowClosedMessage>,         "WindowClosed"},
    {control<&Self::quit_App_WarningSheet_OK>,                          "OK"},
    {control<&Self::appsBusyWarningSheet_warning>,                      "Warning"},
    {control<&Self::appsBusyWarningSheet_closeApplications>,            "CloseApplications"},
    {control<&Self::appsBusyWarningSheet_CancelButton>,                 "Cancel"},
    {control<&Self::appsBusyWarningSheet_ContinueButton>,               "Continue"},
    {control<&Self::licenseAgrement>,                                   "License"}, // NB: spelled so in the interface
    {control<&Self::appRunning_ContinueButton>,                         "Continue"},
    {control<&Self::publicMessage>,                                     "PublicComputer"},
    {control<&Self::privateMessage>,                                    "PrivateComputer"},
    {control<&Self::saveComputerSettingsMessage>,                       "SaveComputerSettings"},
    {control<&Self::titleWindow>,                                       "titleWindow"},
};
// clang-format on
static_assert(std::size(kTexts) == 27);

} // namespace

void KYViewController::initializeNIB() {
    for (const TextRow &row : kTexts) {
        kyb::HasText &shown = row.control(*this);
        shown.setText(kyb::formatWithoutArguments(kyb::localizedText(QString::fromLatin1(row.key))));
        if (&shown == &*termsOfServiceButton) {
            termsOfServiceButton->sizeToFit();
        }
    }
}
